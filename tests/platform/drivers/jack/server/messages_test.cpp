// Messages from a JACK server.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/drivers/jack/server/messages_fixture.h"

namespace drivers::jack {
namespace {

using testing::Contains;
using testing::IsSupersetOf;
using testing::Not;

TEST_F(JackMessages, MessagesOfASourceArriveInOrderWithTheirChannelsSeparated) {
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

TEST_F(JackMessages, MessagesEmittedAfterATapIsMadeArrive) {
  for (std::uint8_t turn = 0; turn < 20; ++turn) {
    tryUndisturbed([&] {
      driven->use("peer:out");
      peer->emit("out", {{0x90, turn, 1}});
      const bool arrives = driven->runUntil([&] { return driven->emittedCount == 1; }, std::chrono::seconds(1));
      driven->unuse("peer:out");
      peer->emit("out", {{0x90, turn, 2}});
      driven->runFor(std::chrono::milliseconds(5));
      return arrives && driven->emittedCount == 1 && driven->lostCount == 0;
    });
  }
}

TEST_F(JackMessages, ATapReturnsWithItsPort) {
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

TEST_F(JackMessages, ATapThatAnotherClientDisconnectsIsMadeAgainAfterALossOfUnknownSize) {
  driven->use("peer:out");
  const std::string own = [&] {
    const std::string listed = server->tool("jack_lsp", {"-c", "peer:out"});
    const auto begin = listed.find("   ") + 3;
    return listed.substr(begin, listed.find('\n', begin) - begin);
  }();
  driven->use("peer:out2");
  tryUndisturbed([&] {
    peer->emit("out", {{0x90, 1, 1}, {0xF0, 1}});
    driven->runUntil([&] { return driven->emittedCount == 1; }, std::chrono::seconds(2));
    driven->uses.clear();
    server->tool("jack_disconnect", {"peer:out", own});
    driven->runUntil([&] { return driven->uses.contains("peer:out"); });
    // The rest of a message that was cut is none.
    peer->emit("out", {{2, 0xF7}, {0x90, 2, 2}});
    driven->runUntil([&] { return driven->emittedCount == 2; }, std::chrono::seconds(2));
    return driven->emittedTexts == std::vector<std::string>{"peer:out 0: 90 01 01", "peer:out 0: 90 02 02"} &&
           driven->lossNews == std::vector<std::string>{"peer:out 0"} &&
           driven->lossPlaces == std::vector<std::size_t>{1};
  });
  EXPECT_THAT(server->tool("jack_lsp", {"-c", "peer:out"}), testing::HasSubstr(own));
}

TEST_F(JackMessages, ATapWhoseSourceGoesAndReturnsHasNoLoss) {
  driven->use("peer:out");
  tryUndisturbed([&] {
    peer->removeSource("out");
    if (!driven->runUntil([&] { return !driven->isThere("peer:out"); })) return false;
    peer->addSource("out");
    driven->uses.clear();
    if (!driven->runUntil([&] { return driven->uses.contains("peer:out"); })) return false;
    peer->emit("out", {{0x90, 1, 2}});
    return driven->runUntil([&] { return driven->emittedCount == 1; }, std::chrono::seconds(2)) &&
           driven->lossNews.empty();
  });
}

TEST_F(JackMessages, ALongSystemExclusiveArrivesWhole) {
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

TEST_F(JackMessages, AFloodOfInputArrivesWholeAndInOrder) {
  driven->use("peer:out");
  driven->keepTexts = false;
  const auto events = flood(20'000);
  tryUndisturbed([&] {
    peer->emit("out", events);
    driven->runUntil([&] { return driven->emittedCount >= events.size(); }, std::chrono::seconds(2));
    return driven->lostCount == 0 && driven->emittedBytes == withoutChannels(joined(events));
  });
}

TEST_F(JackMessages, MessagesThatFindNoRoomAreCountedExactly) {
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

TEST_F(JackMessages, MessagesThatJackDropsAreCounted) {
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

TEST_F(JackMessages, SkippedPeriodsAreALossOfEachUsedSource) {
  driven->use("peer:out");
  driven->use("peer:out2");
  // What was skipped on a busy machine before has been told by then.
  driven->runFor(std::chrono::milliseconds(1100));
  driven->forget();
  // The driver waits for the peer, from whose sources it reads. On a busy machine the peer may have no period
  // meanwhile.
  for (int turn = 0; turn < Turns && driven->lossNews.size() < 2; ++turn) {
    peer->holdUp(std::chrono::milliseconds(100));
    driven->runUntil([&] { return driven->lossNews.size() >= 2; }, std::chrono::seconds(2));
  }
  EXPECT_THAT(driven->lossNews, IsSupersetOf({"peer:out 0", "peer:out2 0"}));
  EXPECT_THAT(driven->lossNews, Not(Contains("peer:out3 0")));
  EXPECT_TRUE(driven->wasLate());
}

TEST_F(JackMessages, SkippedPeriodsAreLoggedRarelyAndTheirSumIsComplete) {
  driven->use("peer:out");
  const auto holdUp = [&] {
    peer->holdUp(std::chrono::milliseconds(100));
    driven->runFor(std::chrono::milliseconds(200));
  };
  // The line comes a second after the first period that was skipped.
  for (int turn = 0; turn < Turns && driven->late == 0; ++turn) holdUp();
  ASSERT_TRUE(driven->runUntil([&] { return driven->late > 0; }));
  ASSERT_EQ(driven->late, 1U);
  const auto told = Driven::now();
  for (int turn = 0; turn < 10; ++turn) holdUp();
  if (Driven::now() - told > std::chrono::seconds(8)) GTEST_SKIP() << "the machine is too slow";
  EXPECT_EQ(driven->late, 1U) << "once in ten seconds at most";
  ASSERT_TRUE(driven->wasLate());
  EXPECT_EQ(driven->late, 2U) << "what is left is told at the end";
}

}  // namespace
}  // namespace drivers::jack
