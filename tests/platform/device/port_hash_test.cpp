#include "platform/device/port_hash.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <unordered_set>

namespace device {
namespace {

// A hash that only sums its parts has 599 values here.
TEST(LinkHash, DiffersForTheLinksOfAGrid) {
  constexpr std::size_t Places = 300;
  std::unordered_set<std::size_t> fromOneGroup;
  std::unordered_set<std::size_t> toOneGroup;
  for (std::uint16_t one = 0; one < Places; ++one) {
    for (std::uint16_t other = 0; other < Places; ++other) {
      fromOneGroup.insert(LinkHash{}({7, one, other, 0}));
      toOneGroup.insert(LinkHash{}({one, 0, 7, other}));
    }
  }
  EXPECT_EQ(fromOneGroup.size(), Places * Places);
  EXPECT_EQ(toOneGroup.size(), Places * Places);
}

}  // namespace
}  // namespace device
