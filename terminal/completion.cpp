#include "terminal/completion.h"

#include <algorithm>

#include "terminal/listing_layout.h"

namespace flowscope {

namespace {

// The line stays as it is if it holds neither "/" nor blank, so the command word is only listed, not extended.
void offerSeveral(LineEditor& editor, ConsoleOutput& output, std::string_view promptText,
                  std::span<const std::string> candidates) {
  listColumns(output, candidates, true, false);
  editor.drawPrompt(promptText);
  editor.replaceLastWord(commonPrefix(candidates));
}

}  // namespace

std::optional<std::vector<std::string>> matchCommandSet(std::span<const std::string_view> names, const char* word) {
  std::vector<std::string> candidates;
  for (const auto name : names) {
    if (word == nullptr) {
      candidates.emplace_back(name);
      continue;
    }
    const std::string finished = std::string(name) + ' ';
    if (finished == word) return std::nullopt;
    if (finished.starts_with(word)) candidates.push_back(finished);
  }
  return candidates;
}

std::string commonPrefix(std::span<const std::string> candidates) {
  if (candidates.empty()) return {};
  std::string_view prefix = candidates.front();
  for (const auto& candidate : candidates) {
    const auto [end, other] = std::mismatch(prefix.begin(), prefix.end(), candidate.begin(), candidate.end());
    prefix = prefix.substr(0, static_cast<std::size_t>(end - prefix.begin()));
  }
  return std::string(prefix);
}

void offerCommands(LineEditor& editor, ConsoleOutput& output, std::string_view promptText,
                   std::span<const std::string> candidates) {
  if (candidates.size() > 1) return offerSeveral(editor, output, promptText, candidates);
  if (candidates.empty()) return editor.drawPrompt(promptText);
  editor.drawPrompt(promptText, candidates.front());
}

void offerPaths(LineEditor& editor, ConsoleOutput& output, std::string_view promptText,
                std::span<const std::string> candidates) {
  if (candidates.size() > 1) return offerSeveral(editor, output, promptText, candidates);
  editor.drawPrompt(promptText);
  if (candidates.empty()) return;
  editor.replaceLastWord(candidates.front() == ".." ? "../" : candidates.front());
}

}  // namespace flowscope
