// The encoding of our text output.
#pragma once

#include <cstdint>

namespace sys {

enum class TextEncoding : std::uint8_t {
  Ascii,  // bytes beyond ASCII must not be shown
  Utf8
};

// Returns the encoding that the process's environment asks for at the first call (LC_ALL, LC_CTYPE, LANG): Utf8 if that
// locale is installed and uses UTF-8. Neither reads nor changes the process's own locale. Thread-safe.
TextEncoding environmentEncoding();

}  // namespace sys
