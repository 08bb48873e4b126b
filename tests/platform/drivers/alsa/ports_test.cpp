// Ports and connections of the sequencer.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "platform/drivers/alsa/driver.h"
#include "tests/platform/drivers/alsa/driver_fixture.h"

namespace drivers::alsa {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class AlsaPorts : public AlsaDriverTest {};

TEST_F(AlsaPorts, ListsThePortsThatOtherClientsMayUse) {
  Peer studio("studio");
  const Address out = studio.port("studio out", SourceCapabilities);
  studio.port("in", SinkCapabilities);
  studio.port("studio two ways", SourceCapabilities | SinkCapabilities);
  studio.port("studio hidden", SourceCapabilities | SND_SEQ_PORT_CAP_NO_EXPORT);
  studio.port("studio closed", SND_SEQ_PORT_CAP_READ);
  studio.port("studio done", SinkCapabilities);
  run->place("studio_done");
  const device::Topology& topology = driver().topology();
  EXPECT_EQ(originalOf("studio_out"), toText(out) + " studio out");
  EXPECT_EQ(run->place("studio_out").side, device::Side::Source);
  EXPECT_EQ(run->place("studio:in").side, device::Side::Sink);
  EXPECT_EQ(run->place("studio_two_ways_out").side, device::Side::Source);
  EXPECT_EQ(run->place("studio_two_ways_in").side, device::Side::Sink);
  const device::Group& group = *topology.find(run->place("studio_out").group);
  EXPECT_EQ(group.name, "studio");
  EXPECT_EQ(group.sources->count, 2);
  EXPECT_EQ(group.sinks->count, 3);
  for (const device::Group& each : topology.groups()) {
    EXPECT_NE(each.name, "System");
    EXPECT_THAT(each.name, ::testing::Not(HasSubstr("flowscope")));
  }
}

TEST_F(AlsaPorts, ListsTheThroughPortOfTheKernel) {
  const device::PortId source = run->place("Midi_Through_Port-0_out");
  EXPECT_EQ(nameAt({source.group, 0, device::Side::Sink}), "Midi_Through_Port-0_in");
  EXPECT_EQ(originalOf("Midi_Through_Port-0_in"), "14:0 Midi Through Port-0");
}

TEST_F(AlsaPorts, MakesAndEndsConnectionsThatOtherClientsSee) {
  Peer peer("peer");
  const Subscription wanted{peer.port("peer out", SourceCapabilities), peer.port("peer in", SinkCapabilities)};
  const device::Link link = run->link("peer_out", "peer_in");
  EXPECT_EQ(run->patch(false, link), device::Status::NotFound);
  EXPECT_EQ(run->patch(true, link), device::Status::Ok);
  EXPECT_THAT(run->links, ElementsAre("+peer_out>peer_in"));
  EXPECT_TRUE(peer.stands(wanted));
  EXPECT_EQ(run->patch(true, link), device::Status::Ok);
  EXPECT_EQ(run->patch(false, link), device::Status::Ok);
  EXPECT_FALSE(peer.stands(wanted));
  EXPECT_EQ(run->patch(true, link), device::Status::Ok);
  // The announcements of all that come now, and change nothing.
  peer.port("peer done", SinkCapabilities);
  run->place("peer_done");
  EXPECT_THAT(run->links, ElementsAre("+peer_out>peer_in", "-peer_out>peer_in", "+peer_out>peer_in"));
}

TEST_F(AlsaPorts, ReportsConnectionsOfOtherClients) {
  Peer peer("peer");
  Peer third("third");
  const Subscription wanted{peer.port("peer out", SourceCapabilities), peer.port("peer in", SinkCapabilities)};
  const device::Link link = run->link("peer_out", "peer_in");
  ASSERT_EQ(third.subscribe(wanted), 0);
  ASSERT_TRUE(run->until([&] { return !run->links.empty(); }));
  EXPECT_THAT(run->links, ElementsAre("+peer_out>peer_in"));
  DriverRun late;
  EXPECT_THAT(late.links, Contains("+peer_out>peer_in"));
  ASSERT_EQ(third.unsubscribe(wanted), 0);
  ASSERT_TRUE(run->until([&] { return run->links.size() == 2; }));
  EXPECT_EQ(run->links.back(), "-peer_out>peer_in");
  // Ended by others before we look: what we have told is put right at once.
  ASSERT_EQ(run->patch(true, link), device::Status::Ok);
  ASSERT_EQ(third.unsubscribe(wanted), 0);
  EXPECT_EQ(run->patch(false, link), device::Status::Ok);
  EXPECT_EQ(run->links.back(), "-peer_out>peer_in");
}

TEST_F(AlsaPorts, TapsAndPlacesReturnWithTheirClient) {
  std::optional<Peer> peer("peer");
  peer->port("peer out", SourceCapabilities);
  use("peer_out");
  const device::PortId place = run->place("peer_out");
  peer.reset();
  ASSERT_TRUE(run->until([&] { return !driver().topology().exists(place); }));
  EXPECT_THAT(run->notes, ElementsAre("client \"peer\" disconnected"));
  // Somebody else may have the number meanwhile.
  Peer other("other");
  const Address otherOut = other.port("other out", SourceCapabilities);
  run->place("other_out");
  peer.emplace("peer");
  const Address out = peer->port("peer out", SourceCapabilities);
  EXPECT_EQ(run->place("peer_out"), place);
  EXPECT_THAT(run->notes, ElementsAre("client \"peer\" disconnected", "client \"peer\" connected again"));
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

TEST(AlsaWithoutASequencer, IsRefusedWithOneLineAndASilentStandardError) {
  if (Peer::canBe()) GTEST_SKIP() << "there is one";
  ::testing::internal::CaptureStderr();
  const auto opened = openAlsa();
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  ASSERT_TRUE(std::holds_alternative<std::string>(opened));
  EXPECT_EQ(std::get<std::string>(opened), "cannot open the ALSA sequencer: No such file or directory");
}

}  // namespace
}  // namespace drivers::alsa
