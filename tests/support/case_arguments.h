// Parses the arguments and blocks of a case's steps. Each function returns nullopt if the text has another form.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/child.h"
#include "tests/support/pseudo_terminal.h"
#include "tests/support/screen.h"

namespace testsupport {

// "80x24": columns and rows, each 1 to 1000.
std::optional<WindowSize> windowSize(std::string_view text);

// "0", "signal TERM".
std::optional<ExitStatus> exitStatus(std::string_view text);

// "ROW COLUMN", both from 1, and the words that follow.
struct PlacedWords {
  Place place;
  std::vector<std::string> rest;
};
std::optional<PlacedWords> placedWords(std::string_view text);

// A cell without text from words such as "bold", "reverse", "red"; "plain" adds nothing. Needs at least one word.
std::optional<Cell> cellStyle(const std::vector<std::string>& words);

// The text of a block, escapes resolved. Every line gets a line end, except lines that end in "\c".
std::optional<std::string> blockText(const std::vector<std::string>& block);

// The bytes of a block, escapes resolved, without line ends.
std::optional<std::string> blockBytes(const std::vector<std::string>& block);

// Bytes from pairs of hexadecimal digits. Ignores blanks between them and everything after a "#".
std::optional<std::string> hexBytes(const std::vector<std::string>& block);

}  // namespace testsupport
