#include "core/tokenizer.h"

#include <algorithm>

namespace flowscope {

namespace {
constexpr char Quote = '"';
constexpr char Separator = ';';
}  // namespace

std::string_view withoutLeadingBlanks(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  return text;
}

std::string_view withoutTrailingBlanks(std::string_view text) { return text.substr(0, text.find_last_not_of(' ') + 1); }

ArgumentWords splitWords(std::string_view command) {
  ArgumentWords words;
  std::string_view rest = withoutLeadingBlanks(withoutTrailingBlanks(command));
  while (!rest.empty()) {
    const auto closing = rest.front() == Quote ? rest.find(Quote, 1) : std::string_view::npos;
    if (closing != std::string_view::npos) {
      words.emplace_back(rest.substr(1, closing - 1));
      rest.remove_prefix(closing + 1);
    } else {
      const auto end = std::min(rest.find(' '), rest.size());
      words.emplace_back(rest.substr(0, end));
      rest.remove_prefix(end);
    }
    rest = withoutLeadingBlanks(rest);
  }
  return words;
}

std::vector<std::string> splitAtSemicolons(std::string_view text) {
  std::vector<std::string> pieces;
  for (auto end = text.find(Separator); end != std::string_view::npos; end = text.find(Separator)) {
    pieces.emplace_back(text.substr(0, end));
    text.remove_prefix(end + 1);
  }
  pieces.emplace_back(text);
  return pieces;
}

std::vector<std::string> splitLine(std::string_view line) {
  std::vector<std::string> pieces;
  std::string_view rest = withoutLeadingBlanks(withoutTrailingBlanks(line));
  while (!rest.empty()) {
    const auto end = std::min(rest.find(Separator), rest.size());
    pieces.emplace_back(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    rest = withoutLeadingBlanks(rest);
  }
  return pieces;
}

std::string_view stripScriptQuote(std::string_view line) {
  line = withoutLeadingBlanks(line);
  if (!line.starts_with(Quote)) return line;
  const auto closing = line.rfind(Quote, 1);
  return closing == 1 ? std::string_view() : line.substr(1);
}

}  // namespace flowscope
