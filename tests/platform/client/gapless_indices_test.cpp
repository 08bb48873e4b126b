#include "platform/client/gapless_indices.h"

#include <gtest/gtest.h>

namespace client {
namespace {

using device::Side;

std::vector<device::Group> withGaps() {
  device::SideOfGroup sources{4, "", {"", "b", "", "d"}};
  sources.removeUnnamed();
  return {{77, "G", sources, device::SideOfGroup{2, "", {"x", "y"}}, {}, 1}};
}

TEST(GaplessIndices, WithoutGapsTheNumbersAreThoseOfTheService) {
  GaplessIndices indices(withGaps());
  EXPECT_EQ(indices.count(1, Side::Sink, 2), 2U);
  EXPECT_EQ(indices.toService(1, 1, Side::Sink), 1U);
  EXPECT_EQ(indices.toConsole(1, 7, Side::Sink), 7U);
  EXPECT_EQ(indices.toService(9, 65535, Side::Source), 65535U) << "a group that is not there";
}

TEST(GaplessIndices, GapsAreClosed) {
  GaplessIndices indices(withGaps());
  EXPECT_EQ(indices.count(1, Side::Source, 4), 2U);
  EXPECT_EQ(indices.toService(1, 0, Side::Source), 1U);
  EXPECT_EQ(indices.toService(1, 1, Side::Source), 3U);
  EXPECT_EQ(indices.toConsole(1, 3, Side::Source), 1U);
  EXPECT_EQ(indices.toService(1, 2, Side::Source), 65535U) << "no port has this index";
}

TEST(GaplessIndices, PortsThatComeLaterAreNumberedBehindTheOthers) {
  GaplessIndices indices(withGaps());
  EXPECT_EQ(indices.toConsole(1, 0, Side::Source), 2U) << "one that has come back";
  EXPECT_EQ(indices.toConsole(1, 4, Side::Source), 3U);
  EXPECT_EQ(indices.toConsole(1, 0, Side::Source), 2U);
  EXPECT_EQ(indices.toService(1, 2, Side::Source), 0U);
  EXPECT_EQ(indices.toService(1, 3, Side::Source), 4U);
  EXPECT_EQ(indices.count(1, Side::Source, 4), 2U) << "the lists are those of the beginning";
}

}  // namespace
}  // namespace client
