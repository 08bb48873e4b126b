// Readable names for the bytes that a keyboard sends.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace testsupport {

// The bytes that a terminal sends for a text of keys. A named key is in angle brackets: <enter>, <tab>, <esc>, <bs>,
// <space>, <up>, <down>, <left>, <right>, <home>, <end>, <del>, <pgup>, <pgdn>, <lt> for "<" itself, <c-a> to <c-z> and
// <c-\>, and <x00> to <xff> for any byte. Everything else stands for itself. Returns nullopt for an unknown name or an
// unclosed bracket.
std::optional<std::string> keyBytes(std::string_view keys);

}  // namespace testsupport
