#include "tests/support/case_script.h"

namespace testsupport {
namespace {

constexpr std::string_view Indentation = "  ";

bool isBlank(std::string_view line) { return line.find_first_not_of(' ') == std::string_view::npos; }

std::vector<std::string_view> splitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    lines.push_back(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return lines;
}

}  // namespace

std::variant<std::vector<Step>, CaseProblem> parseCaseScript(std::string_view text) {
  std::vector<Step> steps;
  std::size_t emptyLines = 0;  // since the last non-empty line; part of a block only if it continues
  std::size_t number = 0;
  for (const std::string_view line : splitLines(text)) {
    ++number;
    if (isBlank(line)) {
      ++emptyLines;
      continue;
    }
    if (line.starts_with(Indentation)) {
      if (steps.empty()) {
        return CaseProblem{number, "an indented line without a step above it"};
      }
      std::optional<std::vector<std::string>>& block = steps.back().block;
      if (!block.has_value()) {
        block.emplace();
      }
      block->insert(block->end(), emptyLines, std::string());
      block->emplace_back(line.substr(Indentation.size()));
    } else if (line.starts_with(' ')) {
      return CaseProblem{number, "a line is indented by two blanks or more, or not at all"};
    } else if (!line.starts_with('#')) {
      const std::size_t end = line.find(' ');
      Step& step = steps.emplace_back();
      step.line = number;
      step.word = line.substr(0, end);
      step.argument = end == std::string_view::npos ? std::string_view() : line.substr(end + 1);
    }
    emptyLines = 0;
  }
  return steps;
}

std::optional<std::vector<std::string>> splitWords(std::string_view text) {
  std::vector<std::string> words;
  std::size_t at = 0;
  for (;;) {
    at = text.find_first_not_of(' ', at);
    if (at == std::string_view::npos) {
      return words;
    }
    std::string& word = words.emplace_back();
    if (text[at] != '"') {
      const std::size_t end = text.find(' ', at);
      word = text.substr(at, end - at);
      at = end;
      continue;
    }
    for (++at; at < text.size() && text[at] != '"'; ++at) {
      if (text[at] == '\\' && at + 1 < text.size() && (text[at + 1] == '"' || text[at + 1] == '\\')) {
        ++at;
      }
      word += text[at];
    }
    if (at == text.size()) {
      return std::nullopt;
    }
    ++at;
  }
}

}  // namespace testsupport
