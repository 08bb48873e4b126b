#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/drivers/alsa/presence.h"
#include "platform/drivers/alsa/sequencer_view.h"

namespace drivers::alsa {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(Presence, TellsWhoLeavesAndReturns) {
  Presence presence;
  const ForeignClient one{1, "one", {}};
  const ForeignClient two{2, "two", {}};
  const std::vector<ForeignClient> both{one, two};
  EXPECT_THAT(presence.update(both), IsEmpty());
  EXPECT_THAT(presence.update(std::vector{two}), ElementsAre("client \"one\" disconnected"));
  EXPECT_THAT(presence.update(std::vector{two}), IsEmpty());
  // New, under a number that was another's.
  const std::vector<ForeignClient> three{two, {1, "three", {}}};
  EXPECT_THAT(presence.update(three), IsEmpty());
  const std::vector<ForeignClient> again{two, {1, "three", {}}, {5, "one", {}}, {6, "one", {}}};
  EXPECT_THAT(presence.update(again), ElementsAre("client \"one\" connected again"));
}

TEST(NameOfPort, HasTheClientInIt) {
  EXPECT_EQ(nameOfPort("Midi Through", "Midi Through Port-0"), "Midi Through Port-0");
  EXPECT_EQ(nameOfPort("aseqdump", "aseqdump"), "aseqdump");
  EXPECT_EQ(nameOfPort("Virtual Raw MIDI 0-0", "VirMIDI 0-0"), "Virtual Raw MIDI 0-0:VirMIDI 0-0");
  EXPECT_EQ(nameOfPort("Long", "Lo"), "Long:Lo");
}

}  // namespace
}  // namespace drivers::alsa
