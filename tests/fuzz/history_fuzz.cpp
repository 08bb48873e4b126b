// Arbitrary lines against an arbitrary history: the first bytes, up to a line feed each, are the entries.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "terminal/history_expansion.h"

namespace {

// The line with each "!$" replaced by word, from the last one to the first.
std::string replaced(std::string line, const std::string& word) {
  for (auto at = line.rfind("!$"); at != std::string::npos;) {
    line.replace(at, 2, word);
    // What the word makes with the text around it is no reference.
    at = at < 2 ? std::string::npos : line.rfind("!$", at - 2);
  }
  return line;
}

std::string lastWord(const std::string& entry) {
  constexpr const char* Blanks = " \t\n\v\f\r";
  const auto end = entry.find_last_not_of(Blanks);
  if (end == std::string::npos) return {};
  const auto before = entry.find_last_of(Blanks, end);
  return entry.substr(before + 1, end - before);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  std::vector<std::string> history;
  for (auto end = text.find('\n'); end != std::string_view::npos && history.size() < 20; end = text.find('\n')) {
    history.emplace_back(text.substr(0, end));
    text.remove_prefix(end + 1);
  }
  if (text.empty()) return 0;
  const auto expanded = flowscope::expandHistory(text, history);
  const bool refers = text.starts_with('!') || text.find("!$") != std::string_view::npos;
  if (!refers && (expanded.recorded != text || expanded.executed != text)) std::abort();
  if (!text.starts_with('!') && !history.empty()) {
    const auto expected = replaced(std::string(text), lastWord(history.back()));
    if (expanded.executed != expected || expanded.recorded != expected) std::abort();
  }
  if (text.starts_with('!') && expanded.executed != text && expanded.executed != expanded.recorded) std::abort();
  return 0;
}
