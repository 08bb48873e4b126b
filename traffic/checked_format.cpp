#include "traffic/checked_format.h"

#include <cstddef>
#include <cstdio>

// The C library's fortified formatting calls end in this function. Calling one of those instead would not work:
// sanitizers replace them.
extern "C" [[noreturn]] void __chk_fail() noexcept;  // NOLINT(bugprone-reserved-identifier)

namespace flowscope {

void formatChecked(std::span<char> buffer, const char* format, unsigned value) {
  const int length = std::snprintf(buffer.data(), buffer.size(), format, value);
  if (length < 0 || static_cast<std::size_t>(length) >= buffer.size()) __chk_fail();
}

}  // namespace flowscope
