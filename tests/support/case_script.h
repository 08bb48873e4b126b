// Splits the plain text of an end-to-end case into steps. tests/cases/README.md describes the format.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace testsupport {

// One step: its word, the rest of the line after the word's blank, and the indented lines below it.
struct Step {
  std::size_t line = 0;  // from 1
  std::string word;
  std::string argument;
  std::optional<std::vector<std::string>> block;  // without the indentation
};

// An error and its line.
struct CaseProblem {
  std::size_t line = 0;  // from 1; 0 if it is not a single line
  std::string cause;
};

// Returns the steps of a script, or the first line that does not fit the format. Does not check whether the words are
// known.
std::variant<std::vector<Step>, CaseProblem> parseCaseScript(std::string_view text);

// The words of an argument, separated by blanks or in double quotes; in quotes, \" and \\ stand for " and \. Returns
// nullopt for a quote without its partner.
std::optional<std::vector<std::string>> splitWords(std::string_view text);

}  // namespace testsupport
