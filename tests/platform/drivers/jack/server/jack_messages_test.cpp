// Messages from and to a JACK server.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/drivers/jack/server/driven.h"
#include "tests/platform/drivers/jack/server/jack_peer.h"
#include "tests/platform/drivers/jack/server/jack_server.h"
#include "tests/support/sanitizer.h"

namespace service::jack {
namespace {

using testing::Contains;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

// Three bytes that tell the number, below 2 to the power of 18.
JackEvent numbered(unsigned number) {
  return {static_cast<std::uint8_t>(0xE0U | (number >> 14U & 0x0FU)), static_cast<std::uint8_t>(number & 0x7FU),
          static_cast<std::uint8_t>(number >> 7U & 0x7FU)};
}

std::vector<JackEvent> flood(unsigned count) {
  std::vector<JackEvent> events;
  for (unsigned number = 0; number < count; ++number) events.push_back(numbered(number));
  return events;
}

JackEvent longExclusive(std::size_t size) {
  JackEvent event(size);
  for (std::size_t at = 0; at < size; ++at) event[at] = static_cast<std::uint8_t>(at * 31 % 127);
  event.front() = 0xF0;
  event.back() = 0xF7;
  return event;
}

JackEvent joined(const std::vector<JackEvent>& events) {
  JackEvent all;
  for (const JackEvent& event : events) all.insert(all.end(), event.begin(), event.end());
  return all;
}

// Three bytes each, as messages have them.
JackEvent withoutChannels(JackEvent events) {
  for (std::size_t at = 0; at < events.size(); at += 3) events[at] &= 0xF0U;
  return events;
}

// With a sanitizer the tests' own client is late in most periods.
constexpr int Turns = testsupport::Sanitized ? 4 : 15;

class JackMessages : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string why = JackServer::whyNot(); !why.empty()) GTEST_SKIP() << why;
    server.emplace();
    peer.emplace("peer", std::vector<std::string>{"out", "out2", "out3", "out4"},
                 std::vector<std::string>{"in", "in2"});
    driven.emplace();
  }

  // JACK goes on without a client that is late, and loses or repeats a period for it; on a busy machine some are. So
  // what does not work is tried again if somebody was late meanwhile, and only then.
  void tryUndisturbed(const std::function<bool()>& works) {
    for (int turn = 0; turn < Turns; ++turn) {
      const std::uint32_t before = peer->late();
      driven->forget();
      peer->arrived("in");
      if (works()) return;
      // The driver tells a second later.
      driven->runFor(std::chrono::milliseconds(1200));
      ASSERT_TRUE(driven->late > 0 || peer->late() > before) << "it does not work, though nobody was late";
    }
    GTEST_SKIP() << "some client of JACK's was late each time";
  }

  std::optional<JackServer> server;
  std::optional<JackPeer> peer;
  std::optional<Driven> driven;
};

TEST_F(JackMessages, OfASourceComeInOrderWithTheirChannelsApart) {
  driven->use("peer:out");
  const std::vector<std::string> expected{"peer:out 0: 90 01 02", "peer:out 15: 90 01 02", "peer:out 0: F8",
                                          "peer:out 3: C0 07",    "peer:out 0: F2 01 02",  "peer:out 0: F0 01 F7"};
  tryUndisturbed([&] {
    peer->emit("out", {{0x90, 1, 2}, {0x9F, 1, 2}, {0xF8}, {0xC3, 7}, {0xF2, 1, 2}, {0xF0, 1, 0xF7}});
    peer->emit("out2", {{0x90, 9, 9}});  // not used
    driven->runUntil([&] { return driven->emittedCount == 6; }, std::chrono::seconds(2));
    return driven->emittedTexts == expected;
  });
}

TEST_F(JackMessages, WhatIsEmittedOnceATapStandsArrives) {
  for (std::uint8_t turn = 0; turn < 20; ++turn) {
    tryUndisturbed([&] {
      driven->use("peer:out");
      peer->emit("out", {{0x90, turn, 1}});
      const bool arrives = driven->runUntil([&] { return driven->emittedCount == 1; }, std::chrono::seconds(1));
      driven->use("peer:out", false);
      peer->emit("out", {{0x90, turn, 2}});
      driven->runFor(std::chrono::milliseconds(5));
      return arrives && driven->emittedCount == 1 && driven->lostCount == 0;
    });
  }
}

TEST_F(JackMessages, ATapIsBackWithItsPort) {
  driven->use("peer:out");
  peer->removeSource("out");
  ASSERT_TRUE(driven->runUntil([&] { return !driven->isThere("peer:out"); }));
  peer->addSource("out");
  ASSERT_TRUE(driven->runUntilThere("peer:out"));
  driven->runFor(std::chrono::milliseconds(100));
  tryUndisturbed([&] {
    peer->emit("out", {{0x90, 1, 2}});
    return driven->runUntil([&] { return driven->emittedCount == 1; }, std::chrono::seconds(2));
  });
}

TEST_F(JackMessages, ATapThatAnotherHasCutIsMadeAgain) {
  driven->use("peer:out");
  const std::string own = [&] {
    const std::string listed = server->tool("jack_lsp", {"-c", "peer:out"});
    const auto begin = listed.find("   ") + 3;
    return listed.substr(begin, listed.find('\n', begin) - begin);
  }();
  server->tool("jack_disconnect", {"peer:out", own});
  ASSERT_TRUE(driven->runUntil([&] {
    return server->tool("jack_lsp", {"-c", "peer:out"}).find(own) != std::string::npos;
  }));
}

TEST_F(JackMessages, WhatIsDeliveredReachesItsSinkOnceAndInOrder) {
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

TEST_F(JackMessages, AnOwnSourceDoesNotHearWhatIsDelivered) {
  ASSERT_EQ(driven->patch(true, "peer:out", "peer:in"), wire::Status::Ok);
  driven->use("peer:out");
  driven->deliver("peer:in", {0x90, 1, 1});
  peer->awaitBytes("in", 3);
  driven->runFor(std::chrono::milliseconds(50));
  EXPECT_EQ(driven->emittedCount, 0U);
}

TEST_F(JackMessages, APortThatWasIdleForTenSecondsIsGivenBack) {
  const std::vector<JackEvent> expected{{0xF8}, {0xFA}};
  tryUndisturbed([&] {
    driven->deliver("peer:in", {0xF8});
    peer->awaitBytes("in", 1);
    driven->driver().advance(Driven::now() + std::chrono::seconds(9));
    EXPECT_THAT(server->tool("jack_lsp"), ContainsRegex("flowscope-[0-9-]+:playback_1\n"));
    driven->driver().advance(Driven::now() + std::chrono::seconds(11));
    EXPECT_THAT(server->tool("jack_lsp"), Not(ContainsRegex("flowscope-[0-9-]+:playback_1\n")));
    driven->deliver("peer:in", {0xFA});
    peer->awaitBytes("in", 2);
    return peer->arrived("in") == expected;
  });
}

TEST_F(JackMessages, AFloodOutWaitsForRoomAndArrivesWhole) {
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

TEST_F(JackMessages, ALongSystemExclusiveGoesOutInPieces) {
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

TEST_F(JackMessages, ALongSystemExclusiveComesInWhole) {
  driven->use("peer:out");
  driven->keepTexts = false;
  const JackEvent message = longExclusive(100'000);
  std::vector<JackEvent> pieces;
  for (std::size_t at = 0; at < message.size(); at += 10'000) {
    pieces.emplace_back(message.begin() + static_cast<std::ptrdiff_t>(at),
                        message.begin() + static_cast<std::ptrdiff_t>(std::min(at + 10'000, message.size())));
  }
  tryUndisturbed([&] {
    peer->emit("out", pieces);
    driven->runUntil([&] { return driven->emittedCount == 1; }, std::chrono::seconds(2));
    return driven->emittedBytes == message;
  });
}

TEST_F(JackMessages, AFloodInComesWholeAndInOrder) {
  driven->use("peer:out");
  driven->keepTexts = false;
  const auto events = flood(20'000);
  tryUndisturbed([&] {
    peer->emit("out", events);
    driven->runUntil([&] { return driven->emittedCount >= events.size(); }, std::chrono::seconds(2));
    return driven->lostCount == 0 && driven->emittedBytes == withoutChannels(joined(events));
  });
}

TEST_F(JackMessages, WhatHasNoRoomIsCountedExactly) {
  const std::vector<std::string> sources{"out", "out2", "out3", "out4"};
  for (const std::string& source : sources) driven->use("peer:" + source);
  driven->keepTexts = false;
  const auto events = flood(75'000);
  tryUndisturbed([&] {
    // Nobody calls advance meanwhile.
    peer->emit(sources, events);
    const auto all = sources.size() * events.size();
    driven->runUntil([&] { return driven->emittedCount + driven->lostCount >= all; }, std::chrono::seconds(2));
    return driven->lostCount > 0 && driven->emittedCount + driven->lostCount == all;
  });
  // What comes later has room again.
  tryUndisturbed([&] {
    peer->emit("out", {{0x80, 1, 99}});
    driven->runUntil([&] { return driven->emittedCount > 0; }, std::chrono::seconds(2));
    return driven->lostCount == 0 && driven->emittedBytes == JackEvent{0x80, 1, 99};
  });
}

TEST_F(JackMessages, WhatJackItselfHasDroppedIsCounted) {
  driven->use("peer:out");
  driven->keepTexts = false;
  const auto events = flood(4000);
  tryUndisturbed([&] {
    peer->emitAtOnce("out", events);
    driven->runUntil([&] { return driven->emittedCount + driven->lostCount >= events.size(); },
                     std::chrono::seconds(2));
    driven->runFor(std::chrono::milliseconds(20));
    return driven->lostCount > 0 && driven->emittedCount + driven->lostCount == events.size();
  });
}

TEST_F(JackMessages, PeriodsThatWereSkippedAreALossOfEachUsedSource) {
  driven->use("peer:out");
  driven->use("peer:out2");
  // What was skipped on a busy machine before has been told by then.
  driven->runFor(std::chrono::milliseconds(1100));
  driven->forget();
  // A server that goes on in time for its next period skips none.
  for (int turn = 0; turn < Turns && driven->lossNews.size() < 2; ++turn) {
    server->halt(std::chrono::milliseconds(100));
    driven->runUntil([&] { return driven->lossNews.size() >= 2; }, std::chrono::seconds(2));
  }
  EXPECT_THAT(driven->lossNews, IsSupersetOf({"peer:out 0", "peer:out2 0"}));
  EXPECT_THAT(driven->lossNews, Not(Contains("peer:out3 0")));
  EXPECT_TRUE(driven->runUntil([&] { return driven->late > 0; }));
}

TEST_F(JackMessages, WhatRealMidiHasNoFormForIsRefusedAndNoted) {
  const std::vector<JackEvent> expected{{0x9F, 2, 2}};
  tryUndisturbed([&] {
    driven->lines.clear();
    driven->deliver("peer:in", {0x90, 1, 1}, 16);
    driven->deliver("peer:in", {0x90, 1, 1}, 17);
    driven->deliver("peer:in", {0x90, 1});
    driven->deliver("peer:in", {0x90, 2, 2}, 15);
    driven->runUntil([&] { return driven->lines.size() == 2; });
    EXPECT_THAT(driven->lines,
                ElementsAre("2 messages for \"peer:in\" not sent: there are no more than 16 channels",
                            "1 message for \"peer:in\" not sent: what was to go is not one MIDI message"));
    return peer->arrived("in") == expected;
  });
}

TEST_F(JackMessages, WhatWaitsForASinkThatGoesIsNoted) {
  auto brief = std::make_unique<JackPeer>("brief", std::vector<std::string>{}, std::vector<std::string>{"in"});
  ASSERT_TRUE(driven->runUntilThere("brief:in"));
  brief.reset();
  // The driver has not looked since.
  driven->deliver("brief:in", {0x90, 1, 1});
  ASSERT_TRUE(driven->runUntil([&] { return driven->lines.size() == 2; }));
  EXPECT_THAT(driven->lines,
              ElementsAre("client \"brief\" has gone", "1 message for \"brief:in\" not sent: it has gone"));
}

}  // namespace
}  // namespace service::jack
