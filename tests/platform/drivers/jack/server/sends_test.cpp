// Messages to a JACK server.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <jack/jack.h>

#include <memory>

#include "tests/platform/drivers/jack/server/messages_fixture.h"

namespace drivers::jack {
namespace {

using testing::Contains;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Matches;
using testing::Not;

TEST_F(JackMessages, DeliveredMessagesReachTheirSinkOnceAndInOrder) {
  const std::vector<JackEvent> expected{{0x90, 0, 1}, {0x91, 1, 1}, {0x92, 2, 1}, {0x93, 3, 1}, {0x94, 4, 1}, {0xF8}};
  tryUndisturbed([&] {
    for (std::uint8_t number = 0; number < 5; ++number) driven->deliver("peer:in", {0x90, number, 1}, number);
    driven->deliver("peer:in", {0xF8});
    driven->driver().advance(Driven::now());
    peer->awaitBytes("in", 16);
    driven->runFor(std::chrono::milliseconds(50));
    return peer->arrived("in") == expected;
  });
  EXPECT_THAT(peer->arrived("in2"), IsEmpty());
  EXPECT_EQ(driven->emittedCount, 0U);
}

TEST_F(JackMessages, DeliveredMessagesAreNotEmittedByAConnectedSource) {
  ASSERT_EQ(driven->patch(true, "peer:out", "peer:in"), device::Status::Ok);
  driven->use("peer:out");
  driven->deliver("peer:in", {0x90, 1, 1});
  peer->awaitBytes("in", 3);
  driven->runFor(std::chrono::milliseconds(50));
  EXPECT_EQ(driven->emittedCount, 0U);
}

TEST_F(JackMessages, APortThatWasIdleForTenSecondsIsReleased) {
  const std::vector<JackEvent> expected{{0xF8}, {0xFA}};
  tryUndisturbed([&] {
    driven->deliver("peer:in", {0xF8});
    peer->awaitBytes("in", 1);
    driven->driver().advance(Driven::now() + std::chrono::seconds(9));
    EXPECT_THAT(server->tool("jack_lsp"), ContainsRegex("flowscope-[0-9-]+:playback_1\n"));
    driven->driver().advance(Driven::now() + std::chrono::seconds(11));
    EXPECT_TRUE(driven->runUntil(
        [&] { return Matches(Not(ContainsRegex("flowscope-[0-9-]+:playback_1\n")))(server->tool("jack_lsp")); }));
    driven->deliver("peer:in", {0xFA});
    peer->awaitBytes("in", 2);
    return peer->arrived("in") == expected;
  });
}

TEST_F(JackMessages, AFloodOfOutputWaitsForRoomAndArrivesWhole) {
  const auto events = flood(20'000);
  tryUndisturbed([&] {
    for (const JackEvent& event : events) {
      const auto group = static_cast<std::uint16_t>(event.front() & 0x0FU);
      driven->deliver("peer:in", {0xE0, event[1], event[2]}, group);
    }
    driven->runFor(std::chrono::milliseconds(100));
    peer->awaitBytes("in", 3 * events.size());
    return peer->arrived("in") == events;
  });
}

TEST_F(JackMessages, ALongSystemExclusiveIsSentInPieces) {
  for (const std::size_t size : {20'000U, 40'000U, 300'000U}) {
    const JackEvent message = longExclusive(size);
    tryUndisturbed([&] {
      driven->deliver("peer:in", message);
      driven->deliver("peer:in", {0x90, 1, 1});
      driven->runFor(std::chrono::milliseconds(100));
      peer->awaitBytes("in", size + 3);
      const auto arrived = peer->arrived("in");
      // One event when a period's buffer has room for it.
      return (arrived.size() == 2) == (size < 32'000) && !arrived.empty() && arrived.back() == JackEvent{0x90, 1, 1} &&
             joined({arrived.begin(), std::prev(arrived.end())}) == message;
    });
  }
}

TEST_F(JackMessages, SendersAreHeldBackWhileMuchWaits) {
  const JackEvent message = longExclusive(500'000);
  tryUndisturbed([&] {
    EXPECT_FALSE(driven->driver().behind());
    for (int turn = 0; turn < 3; ++turn) driven->deliver("peer:in", message);
    EXPECT_TRUE(driven->driver().behind());
    EXPECT_TRUE(driven->runUntil([&] { return !driven->driver().behind(); }));
    driven->runFor(std::chrono::milliseconds(200));
    peer->awaitBytes("in", 3 * message.size());
    return joined(peer->arrived("in")) == joined({message, message, message});
  });
}

TEST_F(JackMessages, MessagesThatMidiCannotCarryAreRefusedAndLogged) {
  const std::vector<JackEvent> expected{{0x9F, 2, 2}};
  tryUndisturbed([&] {
    driven->lines.clear();
    EXPECT_EQ(driven->deliver("peer:in", {0x90, 1, 1}, 16), device::Delivery::Unsendable);
    EXPECT_EQ(driven->deliver("peer:in", {0x90, 1, 1}, 17), device::Delivery::Unsendable);
    EXPECT_EQ(driven->deliver("peer:in", {0x90, 1}), device::Delivery::Unsendable);
    EXPECT_EQ(driven->deliver("peer:in", {0x90, 2, 2}, 15), device::Delivery::Taken);
    driven->runUntil([&] { return driven->lines.size() == 2; });
    EXPECT_THAT(
        driven->lines,
        ElementsAre("2 messages for \"peer:in\" not sent: group id and channel do not form a MIDI channel (0 to 15)",
                    "1 message for \"peer:in\" not sent: not exactly one complete MIDI message"));
    return peer->arrived("in") == expected;
  });
}

TEST_F(JackMessages, MessagesForASinkThatHasGoneAreLogged) {
  auto brief = std::make_unique<JackPeer>("brief", std::vector<std::string>{}, std::vector<std::string>{"in"});
  ASSERT_TRUE(driven->runUntilThere("brief:in"));
  brief.reset();
  // The driver has not looked since.
  driven->deliver("brief:in", {0x90, 1, 1});
  ASSERT_TRUE(driven->runUntil([&] { return driven->lines.size() == 2; }));
  EXPECT_THAT(driven->lines, ElementsAre("client \"brief\" disconnected",
                                         "1 message for \"brief:in\" not sent: the port does not exist any more"));
}

TEST_F(JackMessages, MessagesForASinkThatCannotBeConnectedAreLogged) {
  // JACK connects nothing to a client that is not active.
  const std::unique_ptr<jack_client_t, int (*)(jack_client_t*)> idle(
      jack_client_open("idle", static_cast<jack_options_t>(JackNoStartServer | JackUseExactName), nullptr),
      jack_client_close);
  ASSERT_NE(idle, nullptr);
  jack_port_register(idle.get(), "in", JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0);
  ASSERT_TRUE(driven->runUntilThere("idle:in"));
  driven->deliver("idle:in", {0x90, 1, 1});
  ASSERT_TRUE(driven->runUntil([&] { return !driven->lines.empty(); }));
  EXPECT_THAT(driven->lines, ElementsAre("1 message for \"idle:in\" not sent: cannot connect to the port"));
}

TEST_F(JackMessages, MessagesThatStillWaitWhenASinkGoesAreCounted) {
  // JACK takes a second for so much.
  for (int message = 0; message < 200; ++message) driven->deliver("peer:in", longExclusive(60'000));
  peer.reset();
  const auto line = ContainsRegex("^[1-9][0-9]* messages for \"peer:in\" not sent: the port does not exist any more$");
  EXPECT_TRUE(driven->runUntil([&] { return Matches(Contains(line))(driven->lines); }));
}

}  // namespace
}  // namespace drivers::jack
