// Names that every part of the console can type, complete, use as a pattern and print.
//
// Such a name has 1 to 63 bytes of printable ASCII without blank / ; " ' * [ ] \ ^ $, is not "..", and begins with
// neither "-" nor "~".
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/device/limits.h"

namespace device {

// The name that a real system's name becomes: each byte that must not be becomes "_", the empty name and ".." become
// "_", and what goes beyond most bytes (at least 1) is cut. A name that is clean already stays as it is.
std::string cleanName(std::string_view raw, std::size_t most = MaxNameBytes);

// stem and tail together, the stem cut so that they fit most bytes. tail must fit.
std::string joinName(std::string_view stem, std::string_view tail, std::size_t most = MaxNameBytes);

// Names that are clean and differ from each other.
class UniqueNames {
 public:
  // most: bytes a name may have, 16 at least.
  explicit UniqueNames(std::size_t most = MaxNameBytes) : most_(most) {}

  // The clean form of raw; when an earlier name has taken it, with "_2", "_3", ... at its end, the first that is free.
  std::string add(std::string_view raw);

  // Gives a name back that add has answered. Another may have it from now on.
  void remove(const std::string& name);

 private:
  struct Suffixes {
    unsigned last = 1;
    std::size_t inUse = 0;
  };

  std::size_t most_;
  std::unordered_map<std::string, std::string> taken_;  // and what they are without their suffix; empty: they have none
  std::unordered_map<std::string, Suffixes> suffixes_;
};

}  // namespace device
