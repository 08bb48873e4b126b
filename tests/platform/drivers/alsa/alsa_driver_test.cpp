// The driver against the real sequencer, with clients of the test's own at the other end. Skipped where there is none;
// tests/vm/cases/alsa_driver runs these where there is one.
#include "platform/drivers/alsa/alsa_driver.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "tests/platform/drivers/alsa/driver_run.h"
#include "tests/platform/drivers/alsa/peer.h"

namespace service::alsa {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class AlsaDriverTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!Peer::canBe()) GTEST_SKIP() << "no ALSA sequencer (/dev/snd/seq)";
    run.emplace();
  }

  Driver& driver() { return *run->driver; }

  std::string nameAt(PortId port) { return driver().topology().name(port); }

  std::optional<std::string> originalOf(const std::string& name) {
    const auto port = driver().topology().port(name);
    if (!port) return std::nullopt;
    return driver().topology().find(port->group)->side(port->side)->originals.at(port->index);
  }

  void use(const std::string& source) { driver().setUsed(run->place(source), true, clockNow()); }

  // Has the driver work until all that has been emitted must have been told.
  void settle(Peer& peer, Address from) {
    const std::size_t before = run->messages.size();
    ASSERT_TRUE(peer.note(from, 15, 127));
    ASSERT_TRUE(run->until([&] {
      return std::any_of(run->messages.begin() + static_cast<std::ptrdiff_t>(before), run->messages.end(),
                         [](const auto& told) { return told.group == 15; });
    }));
    run->messages.pop_back();
  }

  std::optional<DriverRun> run;
};

std::vector<std::uint8_t> exclusiveOf(std::size_t size, std::uint8_t seed = 1) {
  std::vector<std::uint8_t> bytes(size);
  for (std::size_t at = 0; at < size; ++at) bytes[at] = static_cast<std::uint8_t>((at * 7 + at / 251 + seed) % 128);
  bytes.front() = SystemExclusive;
  bytes.back() = EndOfExclusive;
  return bytes;
}

TEST_F(AlsaDriverTest, ListsThePortsThatOthersMayUse) {
  Peer studio("studio");
  const Address out = studio.port("studio out", SourceCapabilities);
  studio.port("in", SinkCapabilities);
  studio.port("studio two ways", SourceCapabilities | SinkCapabilities);
  studio.port("studio hidden", SourceCapabilities | SND_SEQ_PORT_CAP_NO_EXPORT);
  studio.port("studio closed", SND_SEQ_PORT_CAP_READ);
  studio.port("studio done", SinkCapabilities);
  run->place("studio_done");
  const Topology& topology = driver().topology();
  EXPECT_EQ(originalOf("studio_out"), toText(out) + " studio out");
  EXPECT_EQ(run->place("studio_out").side, Side::Source);
  EXPECT_EQ(run->place("studio:in").side, Side::Sink);
  EXPECT_EQ(run->place("studio_two_ways_out").side, Side::Source);
  EXPECT_EQ(run->place("studio_two_ways_in").side, Side::Sink);
  const Group& group = *topology.find(run->place("studio_out").group);
  EXPECT_EQ(group.name, "studio");
  EXPECT_EQ(group.sources->count, 2);
  EXPECT_EQ(group.sinks->count, 3);
  for (const Group& each : topology.groups()) {
    EXPECT_NE(each.name, "System");
    EXPECT_THAT(each.name, ::testing::Not(HasSubstr("flowscope")));
  }
}

TEST_F(AlsaDriverTest, ListsThePortOfTheKernelThatPassesOn) {
  const PortId source = run->place("Midi_Through_Port-0_out");
  EXPECT_EQ(nameAt({source.group, 0, Side::Sink}), "Midi_Through_Port-0_in");
  EXPECT_EQ(originalOf("Midi_Through_Port-0_in"), "14:0 Midi Through Port-0");
}

TEST_F(AlsaDriverTest, MakesAndEndsConnectionsThatOthersSee) {
  Peer peer("peer");
  const Subscription wanted{peer.port("peer out", SourceCapabilities), peer.port("peer in", SinkCapabilities)};
  const Link link = run->link("peer_out", "peer_in");
  EXPECT_EQ(driver().patch(false, link, clockNow()), wire::Status::NotFound);
  EXPECT_EQ(driver().patch(true, link, clockNow()), wire::Status::Ok);
  EXPECT_THAT(run->links, ElementsAre("+peer_out>peer_in"));
  EXPECT_TRUE(peer.stands(wanted));
  EXPECT_EQ(driver().patch(true, link, clockNow()), wire::Status::Ok);
  EXPECT_EQ(driver().patch(false, link, clockNow()), wire::Status::Ok);
  EXPECT_FALSE(peer.stands(wanted));
  EXPECT_EQ(driver().patch(true, link, clockNow()), wire::Status::Ok);
  // The announcements of all that come now, and change nothing.
  peer.port("peer done", SinkCapabilities);
  run->place("peer_done");
  EXPECT_THAT(run->links, ElementsAre("+peer_out>peer_in", "-peer_out>peer_in", "+peer_out>peer_in"));
}

TEST_F(AlsaDriverTest, TellsOfTheConnectionsOfOthers) {
  Peer peer("peer");
  Peer third("third");
  const Subscription wanted{peer.port("peer out", SourceCapabilities), peer.port("peer in", SinkCapabilities)};
  const Link link = run->link("peer_out", "peer_in");
  ASSERT_EQ(third.subscribe(wanted), 0);
  ASSERT_TRUE(run->until([&] { return !run->links.empty(); }));
  EXPECT_THAT(run->links, ElementsAre("+peer_out>peer_in"));
  DriverRun late;
  EXPECT_THAT(late.links, Contains("+peer_out>peer_in"));
  ASSERT_EQ(third.unsubscribe(wanted), 0);
  ASSERT_TRUE(run->until([&] { return run->links.size() == 2; }));
  EXPECT_EQ(run->links.back(), "-peer_out>peer_in");
  // Ended by others before we look: what we have told is put right at once.
  ASSERT_EQ(driver().patch(true, link, clockNow()), wire::Status::Ok);
  ASSERT_EQ(third.unsubscribe(wanted), 0);
  EXPECT_EQ(driver().patch(false, link, clockNow()), wire::Status::Ok);
  EXPECT_EQ(run->links.back(), "-peer_out>peer_in");
}

TEST_F(AlsaDriverTest, ShowsWhatATappedSourceEmits) {
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

TEST_F(AlsaDriverTest, ShowsNothingOfASourceThatIsNotUsedAnyMore) {
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

TEST_F(AlsaDriverTest, ShowsSystemExclusiveWholeHoweverItComes) {
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

TEST_F(AlsaDriverTest, ShowsWhatASourceHasEmittedBeforeItLeft) {
  std::optional<Peer> peer("peer");
  const Address out = peer->port("peer out", SourceCapabilities);
  use("peer_out");
  const std::size_t changes = run->changedAfter.size();
  for (std::uint8_t note = 0; note < 100; ++note) ASSERT_TRUE(peer->note(out, 1, note));
  peer.reset();
  ASSERT_TRUE(run->until([&] { return run->changedAfter.size() > changes; }));
  EXPECT_EQ(run->changedAfter.at(changes), 100U);
}

TEST_F(AlsaDriverTest, FloodIsSeenOrLostAndCounted) {
  Peer peer("peer");
  const Address out = peer.port("peer out", SourceCapabilities);
  use("peer_out");
  constexpr std::size_t Sent = 100'000;
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

TEST_F(AlsaDriverTest, LossInTheKernelIsAnnouncedForEachUsedSource) {
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

TEST_F(AlsaDriverTest, SendsToThatSinkOnly) {
  Peer peer("peer");
  Peer other("other");
  const Address in = peer.port("peer in", SinkCapabilities);
  const Address out = peer.port("peer out", SourceCapabilities);
  const Address elsewhere = other.port("other in", SinkCapabilities);
  ASSERT_EQ(peer.subscribe({out, elsewhere}), 0);
  const PortId sink = run->place("peer_in");
  const std::vector<std::uint8_t> note{0x90, 60, 1};
  const std::vector<std::uint8_t> clock{0xF8};
  const auto exclusive = exclusiveOf(100'000);
  driver().deliver(sink, {5, note}, clockNow());
  driver().deliver(sink, {0, clock}, clockNow());
  driver().deliver(sink, {0, exclusive}, clockNow());
  driver().deliver(sink, {15, note}, clockNow());
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

TEST_F(AlsaDriverTest, SlowReceiverLosesNothingAndHoldsUpNobody) {
  Peer slow("slow");
  Peer quick("quick");
  slow.port("slow in", SinkCapabilities);
  quick.port("quick in", SinkCapabilities);
  const PortId slowSink = run->place("slow_in");
  const PortId quickSink = run->place("quick_in");
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

TEST_F(AlsaDriverTest, SlowReceiverBehindThePortThatPassesOnLosesNothing) {
  Peer slow("slow");
  const Address in = slow.port("slow in", SinkCapabilities);
  ASSERT_EQ(slow.subscribe({{14, 0}, in}), 0);
  const PortId sink = run->place("Midi_Through_Port-0_in");
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

TEST_F(AlsaDriverTest, WhatMidiHasNoFormForIsCountedAndNoted) {
  Peer peer("peer");
  const Address in = peer.port("peer in", SinkCapabilities);
  const PortId sink = run->place("peer_in");
  const std::vector<std::uint8_t> note{0x90, 60, 1};
  for (int sent = 0; sent < 3; ++sent) driver().deliver(sink, {16, note}, clockNow());
  driver().deliver(sink, {0, std::span(note).first(2)}, clockNow());
  driver().advance(clockNow() + std::chrono::seconds(2));
  EXPECT_THAT(run->notes,
              ::testing::UnorderedElementsAre(
                  "3 messages for \"" + toText(in) + " peer in\" not sent: there are no more than 16 channels",
                  "1 message for \"" + toText(in) + " peer in\" not sent: what was to go is not one MIDI message"));
  EXPECT_THAT(peer.read(), IsEmpty());
}

TEST_F(AlsaDriverTest, WhatWaitsForAReceiverThatLeavesIsCountedAndNoted) {
  std::optional<Peer> peer("peer");
  const Address in = peer->port("peer in", SinkCapabilities);
  const PortId sink = run->place("peer_in");
  const std::vector<std::uint8_t> note{0x90, 60, 1};
  for (int sent = 0; sent < 1'200; ++sent) driver().deliver(sink, {0, note}, clockNow());
  peer.reset();
  const std::string text = toText(in) + " peer in";
  EXPECT_TRUE(run->until([&] { return run->notes.size() >= 2; }));
  // A pool has 200 cells.
  EXPECT_THAT(run->notes,
              ElementsAre("client \"peer\" has gone", "1000 messages for \"" + text + "\" not sent: it has gone"));
}

TEST_F(AlsaDriverTest, TapsAndPlacesComeBackWithTheirClient) {
  std::optional<Peer> peer("peer");
  peer->port("peer out", SourceCapabilities);
  use("peer_out");
  const PortId place = run->place("peer_out");
  peer.reset();
  ASSERT_TRUE(run->until([&] { return !driver().topology().exists(place); }));
  EXPECT_THAT(run->notes, ElementsAre("client \"peer\" has gone"));
  // Somebody else may have the number meanwhile.
  Peer other("other");
  const Address otherOut = other.port("other out", SourceCapabilities);
  run->place("other_out");
  peer.emplace("peer");
  const Address out = peer->port("peer out", SourceCapabilities);
  EXPECT_EQ(run->place("peer_out"), place);
  EXPECT_THAT(run->notes, ElementsAre("client \"peer\" has gone", "client \"peer\" is back"));
  other.note(otherOut, 1, 1);
  ASSERT_TRUE(peer->note(out, 2, 60));
  settle(*peer, out);
  ASSERT_EQ(run->messages.size(), 1U);
  EXPECT_EQ(run->messages.front().group, 2);
  // A port alone, and one that was away for so short a time that nobody looked.
  peer->removePort(out);
  const Address again = peer->port("peer out", SourceCapabilities);
  driver().advance(clockNow());
  EXPECT_EQ(run->place("peer_out"), place);
  ASSERT_TRUE(peer->note(again, 3, 61));
  settle(*peer, again);
  EXPECT_EQ(run->messages.back().group, 3);
}

TEST(AlsaWithoutASequencer, SaysSoInOneLineAndNothingElse) {
  if (Peer::canBe()) GTEST_SKIP() << "there is one";
  ::testing::internal::CaptureStderr();
  const auto opened = openAlsa();
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  ASSERT_TRUE(std::holds_alternative<std::string>(opened));
  EXPECT_EQ(std::get<std::string>(opened), "cannot open the ALSA sequencer: No such file or directory");
}

}  // namespace
}  // namespace service::alsa
