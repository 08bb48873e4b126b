#include "platform/service/hash.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <unordered_set>

#include "tests/platform/service/device.h"

namespace service {
namespace {

// A hash that only sums its parts has 599 values here.
TEST(LinkHash, DiffersForTheLinksOfAGrid) {
  constexpr std::size_t Places = 300;
  std::unordered_set<std::size_t> fromOneGroup;
  std::unordered_set<std::size_t> toOneGroup;
  for (std::uint16_t one = 0; one < Places; ++one) {
    for (std::uint16_t other = 0; other < Places; ++other) {
      fromOneGroup.insert(LinkHash{}(link(out(7, one), in(other, 0))));
      toOneGroup.insert(LinkHash{}(link(out(one, 0), in(7, other))));
    }
  }
  EXPECT_EQ(fromOneGroup.size(), Places * Places);
  EXPECT_EQ(toOneGroup.size(), Places * Places);
}

}  // namespace
}  // namespace service
