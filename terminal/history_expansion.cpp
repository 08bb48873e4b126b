#include "terminal/history_expansion.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <sstream>

namespace flowscope {

namespace {

constexpr std::string_view LastWordReference = "!$";

using Entries = std::span<const std::string>;

ExpandedLine both(std::string_view line) { return {std::string(line), std::string(line)}; }

bool beginsWithDigit(std::string_view text) { return !text.empty() && text.front() >= '0' && text.front() <= '9'; }

// Returns the number at the front of text; nullopt if it does not fit its type.
std::optional<std::size_t> leadingNumber(std::string_view text) {
  std::size_t number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  if (result.ec != std::errc()) return std::nullopt;
  return number;
}

std::string lastWordOf(const std::string& entry) {
  std::istringstream words(entry);
  std::string last;
  for (std::string word; words >> word;) last = word;
  return last;
}

ExpandedLine expandLastWords(std::string_view line, Entries history) {
  if (history.empty() || line.find(LastWordReference) == std::string_view::npos) return both(line);
  const std::string word = lastWordOf(history.back());
  std::string expanded;
  for (auto at = line.find(LastWordReference); at != std::string_view::npos; at = line.find(LastWordReference)) {
    expanded.append(line.substr(0, at)).append(word);
    line.remove_prefix(at + LastWordReference.size());
  }
  return both(expanded.append(line));
}

ExpandedLine expandBackReference(std::string_view line, std::string_view digits, Entries history) {
  if (!beginsWithDigit(digits)) return {std::string(digits), std::string(line)};
  const auto back = leadingNumber(digits);
  if (!back || *back == 0 || *back > history.size()) return both(line);
  return both(history[history.size() - *back]);
}

}  // namespace

ExpandedLine expandHistory(std::string_view line, Entries history) {
  if (!line.starts_with('!')) return expandLastWords(line, history);
  const std::string_view reference = line.substr(1);
  if (reference.starts_with('-')) return expandBackReference(line, reference.substr(1), history);
  if (reference == "!") return both(history.empty() ? line : history.back());
  ExpandedLine notFound{std::string(reference), std::string(line)};
  if (beginsWithDigit(reference)) {
    const auto number = leadingNumber(reference);
    return number && *number < history.size() ? both(history[*number]) : notFound;
  }
  if (reference.empty() || reference.starts_with('!')) return notFound;
  const auto found = std::find_if(history.rbegin(), history.rend(),
                                  [&](const std::string& entry) { return entry.starts_with(reference); });
  return found != history.rend() ? both(*found) : notFound;
}

}  // namespace flowscope
