// The plain text of an end-to-end case, cut into steps. tests/cases/README.md describes the format.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace testsupport {

// One step: its word, what follows the word's blank on the line, and the indented lines below it.
struct Step {
  std::size_t line = 0;  // from 1
  std::string word;
  std::string argument;
  std::optional<std::vector<std::string>> block;  // without the indentation
};

// What is wrong, and where.
struct CaseProblem {
  std::size_t line = 0;  // from 1; 0 when it is no single line
  std::string cause;
};

// The steps of a script, or the first line that has no place in one. Whether the words mean anything is not looked
// at here.
std::variant<std::vector<Step>, CaseProblem> parseCaseScript(std::string_view text);

// The words of an argument: separated by blanks, or between double quotes, inside of which \" and \\ stand for
// themselves without the backslash. Nothing for a quote without its partner.
std::optional<std::vector<std::string>> splitWords(std::string_view text);

}  // namespace testsupport
