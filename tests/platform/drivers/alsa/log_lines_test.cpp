#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "platform/drivers/alsa/burst_log.h"
#include "platform/drivers/alsa/presence.h"
#include "platform/drivers/alsa/sequencer_view.h"

namespace service::alsa {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace std::chrono_literals;

TEST(BurstLog, MakesOneLineOfWhatHappensWithinASecond) {
  BurstLog log;
  std::vector<std::string> lines;
  const auto take = [&](std::string_view line) { lines.emplace_back(line); };
  EXPECT_EQ(log.advance(0s, take), std::nullopt);
  log.add("a", 1, 10s);
  log.add("a", 2, 10500ms);
  log.add("b", 1, 10600ms);
  EXPECT_EQ(log.advance(10900ms, take), Time(11s));
  EXPECT_THAT(lines, IsEmpty());
  EXPECT_EQ(log.advance(11s, take), Time(11600ms));
  EXPECT_EQ(log.advance(12s, take), std::nullopt);
  EXPECT_THAT(lines, ElementsAre("3 messages a", "1 message b"));
  log.add("a", 1, 20s);
  log.advance(30s, take);
  EXPECT_THAT(lines, ElementsAre("3 messages a", "1 message b", "1 message a"));
}

TEST(Presence, TellsWhoLeavesAndReturns) {
  Presence presence;
  const ForeignClient one{1, "one", {}};
  const ForeignClient two{2, "two", {}};
  const std::vector<ForeignClient> both{one, two};
  EXPECT_THAT(presence.update(both), IsEmpty());
  EXPECT_THAT(presence.update(std::vector{two}), ElementsAre("client \"one\" has gone"));
  EXPECT_THAT(presence.update(std::vector{two}), IsEmpty());
  // New, under a number that was another's.
  const std::vector<ForeignClient> three{two, {1, "three", {}}};
  EXPECT_THAT(presence.update(three), IsEmpty());
  const std::vector<ForeignClient> again{two, {1, "three", {}}, {5, "one", {}}, {6, "one", {}}};
  EXPECT_THAT(presence.update(again), ElementsAre("client \"one\" is back"));
}

TEST(NameOfPort, HasTheClientInIt) {
  EXPECT_EQ(nameOfPort("Midi Through", "Midi Through Port-0"), "Midi Through Port-0");
  EXPECT_EQ(nameOfPort("aseqdump", "aseqdump"), "aseqdump");
  EXPECT_EQ(nameOfPort("Virtual Raw MIDI 0-0", "VirMIDI 0-0"), "Virtual Raw MIDI 0-0:VirMIDI 0-0");
  EXPECT_EQ(nameOfPort("Long", "Lo"), "Long:Lo");
}

}  // namespace
}  // namespace service::alsa
