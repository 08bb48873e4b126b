// Readable names for what a keyboard sends.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace testsupport {

// The bytes that a terminal sends for a text of keys. A key with a name stands in angle brackets: <enter>, <tab>,
// <esc>, <bs>, <space>, <up>, <down>, <left>, <right>, <home>, <end>, <del>, <pgup>, <pgdn>, <lt> for "<" itself,
// <c-a> to <c-z> and <c-\>, and <x00> to <xff> for any byte. Everything else stands for itself. Nothing for a name
// that is not known or a bracket that is not closed.
std::optional<std::string> keyBytes(std::string_view keys);

}  // namespace testsupport
