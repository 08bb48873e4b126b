#include "platform/drivers/described/device_problem.h"

#include <algorithm>
#include <cstddef>

#include "platform/system/printable.h"

namespace drivers {

std::string printable(std::string_view text) {
  constexpr std::size_t MaxText = 160;
  std::size_t size = std::min(text.size(), MaxText);
  // Does not cut a character in two.
  while (size < text.size() && size > MaxText - 4 && (static_cast<unsigned char>(text[size]) & 0xC0U) == 0x80) --size;
  return sys::printable(text.substr(0, size));
}

}  // namespace drivers
