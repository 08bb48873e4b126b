// Names that the whole console can type, complete, use as a pattern and print.
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

// Makes a clean name from a real system's name: each forbidden byte becomes "_", the empty name and ".." become "_",
// and the name is cut to `most` bytes (at least 1). A clean name that fits stays as it is.
std::string cleanName(std::string_view raw, std::size_t most = MaxNameBytes);

// True for a name that cleanName leaves as it is, apart from its length. Does not allocate.
bool isCleanName(std::string_view name);

// Returns stem followed by tail; cuts stem so that both fit into `most` bytes. tail alone must fit.
std::string joinName(std::string_view stem, std::string_view tail, std::size_t most = MaxNameBytes);

// Makes names that are clean and unique.
class UniqueNames {
 public:
  // most: the maximum length in bytes, at least 16.
  explicit UniqueNames(std::size_t most = MaxNameBytes) : most_(most) {}

  // Returns the clean form of raw. If an earlier name has taken it, appends the first free one of "_2", "_3", ...
  std::string add(std::string_view raw);

  // Frees a name that add returned. add may return it again.
  void remove(const std::string& name);

 private:
  struct Suffixes {
    unsigned last = 1;
    std::size_t inUse = 0;
  };

  std::size_t most_;
  std::unordered_map<std::string, std::string> taken_;  // to the name without its suffix; empty: no suffix
  std::unordered_map<std::string, Suffixes> suffixes_;
};

}  // namespace device
