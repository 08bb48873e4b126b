// Bytes as text that can be read and typed.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace testsupport {

// The bytes of a text with \e (ESC), \n, \r, \t, \a, \b, \\ and \xHH for any byte. Nothing for any other escape.
std::optional<std::string> unescape(std::string_view text);

// The reverse: printable ASCII as it stands, a backslash doubled, everything else escaped.
std::string escape(std::string_view bytes);

}  // namespace testsupport
