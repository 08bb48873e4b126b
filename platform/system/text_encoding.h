// What bytes beyond ASCII mean to who reads our text.
#pragma once

#include <cstdint>

namespace sys {

enum class TextEncoding : std::uint8_t {
  Ascii,  // nothing: they are not to be shown
  Utf8
};

// As the environment of the process says at the first call (LC_ALL, LC_CTYPE, LANG): Utf8 when that locale is installed
// and has UTF-8. The process's own locale is neither asked nor changed. Any thread.
TextEncoding environmentEncoding();

}  // namespace sys
