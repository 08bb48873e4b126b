#include "platform/drivers/device_problem.h"

#include "platform/wire/printable.h"

namespace service {

std::string printable(std::string_view text) {
  constexpr std::size_t MaxText = 160;
  return wire::printable(text.substr(0, MaxText));
}

}  // namespace service
