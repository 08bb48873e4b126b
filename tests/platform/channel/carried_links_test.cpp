#include "platform/channel/carried_links.h"

#include <gtest/gtest.h>

namespace channel {
namespace {

// Handles count from first on.
wire::Topology topology(std::uint64_t first) {
  return {{{first, {}, "J", wire::TopologySide{2, "", {"j:a", "j:b"}}, std::nullopt},
           {first + 1, {}, "A", std::nullopt, wire::TopologySide{2, "AIn", {}}}}};
}

TEST(CarriedLinks, AreReportedWhenTheyAreNotRestored) {
  LinkMirror mirror;
  mirror.reset({3, {{10, 0, 11, 0, true}, {10, 1, 11, 0, true}, {10, 1, 11, 1, false}}});
  CarriedLinks carried;
  EXPECT_TRUE(carried.empty());
  carried.keep(mirror, topology(10));
  EXPECT_FALSE(carried.empty());
  EXPECT_EQ(carried.compare({0, {}}, topology(70)),
            "lost when the service restarted: the connection of \"j:a\" to \"AIn1\" and 1 more between two "
            "systems");
  EXPECT_TRUE(carried.empty()) << "it is told once";
}

TEST(CarriedLinks, AreNotReportedWhenTheyAreRestored) {
  LinkMirror mirror;
  mirror.reset({3, {{10, 0, 11, 0, true}, {10, 1, 11, 0, true}}});
  CarriedLinks carried;
  carried.keep(mirror, topology(10));
  EXPECT_EQ(carried.compare({9, {{70, 1, 71, 0, true}}}, topology(70)),
            "lost when the service restarted: the connection of \"j:a\" to \"AIn1\"");
  carried.keep(mirror, topology(10));
  EXPECT_EQ(carried.compare({9, {{70, 1, 71, 0, true}, {70, 0, 71, 0, true}}}, topology(70)), std::nullopt);
}

}  // namespace
}  // namespace channel
