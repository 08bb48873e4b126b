// What goes to the sequencer, and waits.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "platform/drivers/alsa/driver.h"
#include "tests/platform/drivers/alsa/driver_fixture.h"

namespace drivers::alsa {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AlsaSinkFeeds : public AlsaDriverTest {};

TEST_F(AlsaSinkFeeds, SendsToTheGivenSinkOnly) {
  Peer peer("peer");
  Peer other("other");
  const Address in = peer.port("peer in", SinkCapabilities);
  const Address out = peer.port("peer out", SourceCapabilities);
  const Address elsewhere = other.port("other in", SinkCapabilities);
  ASSERT_EQ(peer.subscribe({out, elsewhere}), 0);
  const device::PortId sink = run->place("peer_in");
  const std::vector<std::uint8_t> note{0x90, 60, 1};
  const std::vector<std::uint8_t> clock{0xF8};
  const auto exclusive = exclusiveOf(100'000);
  driver().deliver(sink, {5, note}, clockNow());
  driver().deliver(sink, {0, clock}, clockNow());
  driver().deliver(sink, {0, exclusive}, clockNow());
  EXPECT_EQ(driver().deliver(sink, {15, note}, clockNow()), device::Delivery::Taken);
  std::vector<std::uint8_t> expected{0x95, 60, 1, 0xF8};
  expected.insert(expected.end(), exclusive.begin(), exclusive.end());
  expected.insert(expected.end(), {0x9F, 60, 1});
  std::vector<std::uint8_t> found;
  int overflows = 0;
  ASSERT_TRUE(run->until([&] {
    const auto more = peer.read(&overflows);
    found.insert(found.end(), more.begin(), more.end());
    return found.size() >= expected.size();
  }));
  EXPECT_EQ(found, expected);
  EXPECT_EQ(overflows, 0);
  EXPECT_THAT(other.read(), IsEmpty());
  EXPECT_THAT(run->messages, IsEmpty());
  EXPECT_EQ(in.client, out.client);
}

TEST_F(AlsaSinkFeeds, SlowReceiverLosesNothingAndHoldsUpNobody) {
  Peer slow("slow");
  Peer quick("quick");
  slow.port("slow in", SinkCapabilities);
  quick.port("quick in", SinkCapabilities);
  const device::PortId slowSink = run->place("slow_in");
  const device::PortId quickSink = run->place("quick_in");
  constexpr int Notes = 30'000;
  std::vector<std::uint8_t> expected;
  EXPECT_FALSE(driver().behind());
  for (int sent = 0; sent < Notes; ++sent) {
    const std::vector<std::uint8_t> note{0x90, static_cast<std::uint8_t>(sent % 128),
                                         static_cast<std::uint8_t>(sent / 128 % 128)};
    driver().deliver(slowSink, {0, note}, clockNow());
    expected.insert(expected.end(), note.begin(), note.end());
  }
  EXPECT_TRUE(driver().behind());
  const std::vector<std::uint8_t> clock{0xF8};
  driver().deliver(quickSink, {0, clock}, clockNow());
  EXPECT_THAT(quick.read(), ElementsAre(0xF8));
  std::vector<std::uint8_t> found;
  int overflows = 0;
  ASSERT_TRUE(run->until([&] {
    const auto more = slow.read(&overflows);
    found.insert(found.end(), more.begin(), more.end());
    return found.size() >= expected.size();
  }));
  EXPECT_EQ(found, expected);
  EXPECT_EQ(overflows, 0);
  EXPECT_FALSE(driver().behind());
}

TEST_F(AlsaSinkFeeds, SlowReceiverBehindTheThroughPortLosesNothing) {
  Peer slow("slow");
  const Address in = slow.port("slow in", SinkCapabilities);
  ASSERT_EQ(slow.subscribe({{14, 0}, in}), 0);
  const device::PortId sink = run->place("Midi_Through_Port-0_in");
  const auto exclusive = exclusiveOf(20'000);
  driver().deliver(sink, {0, exclusive}, clockNow());
  std::vector<std::uint8_t> found;
  int overflows = 0;
  ASSERT_TRUE(run->until([&] {
    const auto more = slow.read(&overflows);
    found.insert(found.end(), more.begin(), more.end());
    return found.size() >= exclusive.size();
  }));
  EXPECT_EQ(found, exclusive);
  EXPECT_EQ(overflows, 0);
}

TEST_F(AlsaSinkFeeds, MessagesThatMidiCannotCarryAreCountedAndLogged) {
  Peer peer("peer");
  const Address in = peer.port("peer in", SinkCapabilities);
  const device::PortId sink = run->place("peer_in");
  const std::vector<std::uint8_t> note{0x90, 60, 1};
  for (int sent = 0; sent < 3; ++sent) {
    EXPECT_EQ(driver().deliver(sink, {16, note}, clockNow()), device::Delivery::Unsendable);
  }
  EXPECT_EQ(driver().deliver(sink, {0, std::span(note).first(2)}, clockNow()), device::Delivery::Unsendable);
  driver().advance(clockNow() + std::chrono::seconds(2));
  EXPECT_THAT(run->notes,
              ::testing::UnorderedElementsAre(
                  "3 messages for \"" + toText(in) +
                      " peer in\" not sent: group id and channel do not form a MIDI channel (0 to 15)",
                  "1 message for \"" + toText(in) + " peer in\" not sent: not exactly one complete MIDI message"));
  EXPECT_THAT(peer.read(), IsEmpty());
}

TEST_F(AlsaSinkFeeds, MessagesThatWaitForAReceiverThatLeavesAreCountedAndLogged) {
  std::optional<Peer> peer("peer");
  const Address in = peer->port("peer in", SinkCapabilities);
  const device::PortId sink = run->place("peer_in");
  const std::vector<std::uint8_t> note{0x90, 60, 1};
  for (int sent = 0; sent < 1'200; ++sent) driver().deliver(sink, {0, note}, clockNow());
  peer.reset();
  const std::string text = toText(in) + " peer in";
  EXPECT_TRUE(run->until([&] { return run->notes.size() >= 2; }));
  // A pool has 200 cells.
  EXPECT_THAT(run->notes, ElementsAre("client \"peer\" disconnected",
                                      "1000 messages for \"" + text + "\" not sent: the port does not exist any more"));
}

}  // namespace
}  // namespace drivers::alsa
