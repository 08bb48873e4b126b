// Bytes as readable and typeable text.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace testsupport {

// The bytes of a text with \e (ESC), \n, \r, \t, \a, \b, \\ and \xHH for any byte. Returns nullopt for any other
// escape.
std::optional<std::string> unescape(std::string_view text);

// The reverse: keeps printable ASCII, doubles a backslash, escapes everything else.
std::string escape(std::string_view bytes);

}  // namespace testsupport
