// What comes from the sequencer, and what is lost on the way.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "platform/drivers/alsa/driver.h"
#include "tests/platform/drivers/alsa/driver_fixture.h"

namespace drivers::alsa {
namespace {

using ::testing::ElementsAre;

class AlsaInput : public AlsaDriverTest {};

TEST_F(AlsaInput, ShowsWhatATappedSourceEmits) {
  Peer peer("peer");
  const Address out = peer.port("peer out", SourceCapabilities);
  const Address other = peer.port("peer other", SourceCapabilities);
  use("peer_out");
  use("peer_other");
  for (std::uint8_t channel = 0; channel < 15; ++channel) {
    ASSERT_TRUE(peer.note(channel % 2 == 0 ? out : other, channel, static_cast<std::uint8_t>(60 + channel)));
  }
  // No MIDI, and a controller of 14 bits, which is two messages.
  snd_seq_event_t event{};
  event.type = SND_SEQ_EVENT_USR1;
  ASSERT_TRUE(peer.emit(out, event));
  event = {};
  event.type = SND_SEQ_EVENT_CONTROL14;
  event.data.control.channel = 3;
  event.data.control.param = 7;
  event.data.control.value = 0x81;
  ASSERT_TRUE(peer.emit(out, event));
  settle(peer, out);
  ASSERT_EQ(run->messages.size(), 17U);
  for (std::uint8_t at = 0; at < 15; ++at) {
    const auto& told = run->messages[at];
    EXPECT_EQ(nameAt(told.source), at % 2 == 0 ? "peer_out" : "peer_other");
    EXPECT_EQ(told.group, at);
    EXPECT_THAT(told.bytes, ElementsAre(0x90, 60 + at, 100));
  }
  EXPECT_EQ(run->messages[15].group, 3);
  EXPECT_THAT(run->messages[15].bytes, ElementsAre(0xB0, 7, 1));
  EXPECT_THAT(run->messages[16].bytes, ElementsAre(0xB0, 39, 1));
  EXPECT_EQ(run->known + static_cast<unsigned>(run->unknown), 0U);
}

TEST_F(AlsaInput, ShowsNothingOfASourceThatIsNoLongerUsed) {
  Peer peer("peer");
  const Address out = peer.port("peer out", SourceCapabilities);
  const Address other = peer.port("peer other", SourceCapabilities);
  use("peer_out");
  use("peer_other");
  ASSERT_TRUE(peer.note(out, 1, 60));
  settle(peer, other);
  driver().setUsed(run->place("peer_out"), false, clockNow());
  ASSERT_TRUE(peer.note(out, 2, 61));
  settle(peer, other);
  ASSERT_EQ(run->messages.size(), 1U);
  EXPECT_EQ(run->messages.front().group, 1);
}

TEST_F(AlsaInput, ShowsSystemExclusiveWholeFromAnyPieces) {
  Peer peer("peer");
  const Address one = peer.port("peer one", SourceCapabilities);
  const Address two = peer.port("peer two", SourceCapabilities);
  use("peer_one");
  use("peer_two");
  const auto first = exclusiveOf(100'000, 1);
  const auto second = exclusiveOf(100'000, 2);
  std::size_t notes = 0;
  for (std::size_t at = 0; at < first.size(); at += 1'000) {
    ASSERT_TRUE(peer.exclusive(one, std::span(first).subspan(at, 1'000)));
    ASSERT_TRUE(peer.exclusive(two, std::span(second).subspan(at, 1'000)));
    if (at % 10'000 == 0) {
      ASSERT_TRUE(peer.note(one, 2, static_cast<std::uint8_t>(notes++)));
    }
    driver().advance(clockNow());
  }
  settle(peer, one);
  ASSERT_EQ(run->messages.size(), notes + 2);
  for (std::size_t at = 0; at < notes; ++at) EXPECT_EQ(run->messages[at].bytes.at(1), at);
  EXPECT_EQ(run->messages[notes].bytes, first);
  EXPECT_EQ(run->messages[notes + 1].bytes, second);
  EXPECT_EQ(run->known + static_cast<unsigned>(run->unknown), 0U);
}

TEST_F(AlsaInput, ShowsMessagesThatASourceEmittedBeforeItLeft) {
  std::optional<Peer> peer("peer");
  const Address out = peer->port("peer out", SourceCapabilities);
  use("peer_out");
  const std::size_t changes = run->changedAfter.size();
  for (std::uint8_t note = 0; note < 100; ++note) ASSERT_TRUE(peer->note(out, 1, note));
  peer.reset();
  ASSERT_TRUE(run->until([&] { return run->changedAfter.size() > changes; }));
  EXPECT_EQ(run->changedAfter.at(changes), 100U);
}

TEST_F(AlsaInput, EveryMessageOfAFloodIsSeenOrCountedAsLost) {
  Peer peer("peer");
  const Address out = peer.port("peer out", SourceCapabilities);
  use("peer_out");
  constexpr std::size_t Sent = 30'000;
  std::size_t refused = 0;
  for (std::size_t sent = 0; sent < Sent; ++sent) {
    if (!peer.note(out, static_cast<std::uint8_t>(sent % 15), static_cast<std::uint8_t>(sent % 128))) ++refused;
  }
  while (!peer.note(out, 15, 127)) driver().advance(clockNow());
  ASSERT_TRUE(run->until([&] { return !run->messages.empty() && run->messages.back().group == 15; }));
  run->messages.pop_back();
  std::cout << "seen " << run->messages.size() << ", lost " << run->known << ", announced " << run->unknown
            << " times, refused to the sender " << refused << "\n";
  if (run->unknown == 0) {
    EXPECT_EQ(refused, 0U);
    EXPECT_EQ(run->messages.size() + run->known, Sent);
  } else {
    EXPECT_LT(run->messages.size() + run->known, Sent);
  }
}

TEST_F(AlsaInput, LossInTheKernelIsAnnouncedForEachUsedSource) {
  Peer peer("peer");
  const Address one = peer.port("peer one", SourceCapabilities);
  const Address two = peer.port("peer two", SourceCapabilities);
  peer.port("peer three", SourceCapabilities);
  use("peer_one");
  use("peer_two");
  const auto message = exclusiveOf(3'000);
  ASSERT_TRUE(peer.exclusive(two, std::span(message).first(1'000)));
  settle(peer, one);
  // What never fits into a pool makes it overflow.
  EXPECT_FALSE(peer.exclusive(one, exclusiveOf(60'000)));
  // The kernel says so when it has something to read, which it then drops as well.
  ASSERT_TRUE(peer.note(one, 1, 1));
  ASSERT_TRUE(run->until([&] { return run->unknown == 2; }));
  // The rest of a message that has been cut is no message, and no further loss.
  ASSERT_TRUE(peer.exclusive(two, std::span(message).subspan(1'000)));
  ASSERT_TRUE(peer.exclusive(two, message));
  settle(peer, one);
  ASSERT_EQ(run->messages.size(), 1U);
  EXPECT_EQ(run->messages.front().bytes, message);
  EXPECT_EQ(run->known, 0U);
  EXPECT_EQ(run->unknown, 2);
}

}  // namespace
}  // namespace drivers::alsa
