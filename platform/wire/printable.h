// Text that is safe to show.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace wire {

// text with "?" for every byte that is not printable ASCII: what came from elsewhere must neither steer a terminal nor
// end a line.
inline std::string printable(std::string_view text) {
  std::string clean(text);
  std::ranges::replace_if(
      clean, [](char byte) { return byte < ' ' || byte > '~'; }, '?');
  return clean;
}

}  // namespace wire
