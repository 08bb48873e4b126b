#include "platform/drivers/device_problem.h"

#include <algorithm>

namespace service {

std::string printable(std::string_view text) {
  constexpr std::size_t MaxText = 160;
  std::string result(text.substr(0, MaxText));
  std::replace_if(
      result.begin(), result.end(), [](char byte) { return byte < ' ' || byte > '~'; }, '?');
  return result;
}

}  // namespace service
