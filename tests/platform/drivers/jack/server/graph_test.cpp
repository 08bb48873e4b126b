// Ports and connections of a JACK server, as the driver tells of them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "tests/platform/drivers/jack/server/driven.h"
#include "tests/platform/drivers/jack/server/jack_peer.h"
#include "tests/platform/drivers/jack/server/jack_server.h"

namespace drivers::jack {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Matches;
using testing::Not;

class JackGraph : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string why = JackServer::whyNot(); !why.empty()) GTEST_SKIP() << why;
    server.emplace();
  }

  std::optional<JackServer> server;
};

TEST_F(JackGraph, ListsMidiPortsOnTheirSidesUnderJacksNames) {
  JackPeer keys("keys", {"out 1", "out 2"}, {});
  JackPeer synth("synth", {"thru"}, {"in"});
  const Driven driven;
  const auto& groups = driven.topology().groups();
  ASSERT_EQ(groups.size(), 2U);  // not JACK's audio ports
  EXPECT_EQ(groups[0].name, "keys");
  EXPECT_EQ(groups[0].original, "keys");
  EXPECT_EQ(groups[0].sources->names, (std::vector<std::string>{"keys:out_1", "keys:out_2"}));
  EXPECT_EQ(groups[0].sources->originals, (std::vector<std::string>{"keys:out 1", "keys:out 2"}));
  EXPECT_FALSE(groups[0].sinks);
  EXPECT_EQ(groups[1].sources->names, std::vector<std::string>{"synth:thru"});
  EXPECT_EQ(groups[1].sinks->names, std::vector<std::string>{"synth:in"});
}

TEST_F(JackGraph, PortsComeGoAndReturnToTheirPlaces) {
  JackPeer keys("keys", {"a", "b"}, {});
  Driven driven;
  const device::PortId a = driven.place("keys:a");
  keys.removeSource("a");
  ASSERT_TRUE(driven.runUntil([&] { return !driven.isThere("keys:a"); }));
  EXPECT_TRUE(driven.isThere("keys:b"));
  keys.addSource("c");
  ASSERT_TRUE(driven.runUntilThere("keys:c"));
  keys.addSource("a");
  ASSERT_TRUE(driven.runUntilThere("keys:a"));
  EXPECT_EQ(driven.place("keys:a"), a);
  EXPECT_THAT(driven.lines, IsEmpty());  // the client has been there all the time
}

TEST_F(JackGraph, ClientThatReturnsGetsItsOldIdAndALogLine) {
  auto keys = std::make_unique<JackPeer>("keys", std::vector<std::string>{"out"}, std::vector<std::string>{});
  Driven driven;
  const device::PortId place = driven.place("keys:out");
  keys.reset();
  ASSERT_TRUE(driven.runUntil([&] { return driven.lines.size() == 1; }));
  EXPECT_FALSE(driven.isThere("keys:out"));
  JackPeer other("other", {"out"}, {});
  ASSERT_TRUE(driven.runUntilThere("other:out"));
  JackPeer again("keys", {"out"}, {});
  ASSERT_TRUE(driven.runUntilThere("keys:out"));
  EXPECT_EQ(driven.place("keys:out"), place);
  EXPECT_THAT(driven.lines, ElementsAre("client \"keys\" disconnected", "client \"keys\" connected again"));
}

TEST_F(JackGraph, OwnConnectionsAreMadeInJackAndReportedAtOnce) {
  JackPeer keys("keys", {"out"}, {});
  JackPeer synth("synth", {}, {"in"});
  Driven driven;
  EXPECT_EQ(driven.patch(true, "keys:out", "synth:in"), device::Status::Ok);
  EXPECT_THAT(driven.links, ElementsAre("keys:out synth:in"));
  EXPECT_THAT(server->tool("jack_lsp", {"-c"}), HasSubstr("keys:out\n   synth:in\n"));
  EXPECT_EQ(driven.patch(true, "keys:out", "synth:in"), device::Status::Ok);
  EXPECT_EQ(driven.patch(false, "keys:out", "synth:in"), device::Status::Ok);
  EXPECT_THAT(driven.links, IsEmpty());
  EXPECT_THAT(server->tool("jack_lsp", {"-c"}), Not(HasSubstr("   synth:in")));
  EXPECT_EQ(driven.patch(false, "keys:out", "synth:in"), device::Status::NotFound);
}

TEST_F(JackGraph, ConnectionsOfOtherClientsAreReportedAsTheyHappen) {
  JackPeer keys("keys", {"out"}, {});
  JackPeer synth("synth", {}, {"in", "in2"});
  server->tool("jack_connect", {"keys:out", "synth:in2"});
  Driven driven;
  EXPECT_THAT(driven.links, ElementsAre("keys:out synth:in2"));
  driven.linkNews.clear();
  server->tool("jack_connect", {"keys:out", "synth:in"});
  ASSERT_TRUE(driven.runUntil([&] { return driven.linkNews.size() == 1; }));
  server->tool("jack_disconnect", {"keys:out", "synth:in"});
  server->tool("jack_disconnect", {"keys:out", "synth:in2"});
  ASSERT_TRUE(driven.runUntil([&] { return driven.linkNews.size() == 3; }));
  EXPECT_THAT(driven.linkNews, ElementsAre("+keys:out synth:in", "-keys:out synth:in", "-keys:out synth:in2"));
}

TEST_F(JackGraph, EchoOfAnOwnChangeUndoesNoLaterChange) {
  JackPeer keys("keys", {"out"}, {});
  JackPeer synth("synth", {}, {"in"});
  Driven driven;
  std::vector<std::string> expected;
  for (int turn = 0; turn < 20; ++turn) {
    ASSERT_EQ(driven.patch(true, "keys:out", "synth:in"), device::Status::Ok);
    ASSERT_EQ(driven.patch(false, "keys:out", "synth:in"), device::Status::Ok);
    expected.insert(expected.end(), {"+keys:out synth:in", "-keys:out synth:in"});
  }
  ASSERT_EQ(driven.patch(true, "keys:out", "synth:in"), device::Status::Ok);
  expected.emplace_back("+keys:out synth:in");
  // What another does comes behind all echoes.
  server->tool("jack_disconnect", {"keys:out", "synth:in"});
  expected.emplace_back("-keys:out synth:in");
  ASSERT_TRUE(driven.runUntil([&] { return driven.links.empty(); }));
  driven.runFor(std::chrono::milliseconds(50));
  EXPECT_EQ(driven.linkNews, expected);
}

TEST_F(JackGraph, OwnPortsAndTheirConnectionsAreNeverReported) {
  JackPeer keys("keys", {"out"}, {});
  JackPeer synth("synth", {}, {"in"});
  Driven driven;
  EXPECT_TRUE(driven.use("keys:out"));
  driven.deliver("synth:in", {0xF8});
  const auto lists = [&](const char* port) {
    return Matches(ContainsRegex(std::string("flowscope-[0-9-]+:") + port + "\n"))(server->tool("jack_lsp"));
  };
  EXPECT_TRUE(lists("capture_1"));
  EXPECT_TRUE(driven.runUntil([&] { return lists("playback_1"); }));
  driven.runFor(std::chrono::milliseconds(100));
  JackPeer last("last", {"out"}, {});
  ASSERT_TRUE(driven.runUntilThere("last:out"));
  EXPECT_EQ(driven.topology().groups().size(), 3U);
  EXPECT_THAT(driven.linkNews, IsEmpty());
  driven.unuse("keys:out");
  EXPECT_TRUE(driven.runUntil([&] { return !lists("capture_1"); }));
}

TEST_F(JackGraph, SourceThatFindsNoFreePortInJackIsRefusedAndLogged) {
  server.reset();
  JackServer full(32);
  std::vector<std::string> ports;
  for (int number = 0; number < 24; ++number) ports.push_back("out" + std::to_string(number));
  JackPeer keys("keys", ports, {});
  Driven driven;
  // One port after the other, until the server has none left.
  std::size_t used = 0;
  while (used < ports.size() && driven.use("keys:" + ports[used])) ++used;
  ASSERT_GT(used, 0U);
  ASSERT_LT(used, ports.size());
  EXPECT_EQ(driven.uses.at("keys:" + ports[used]), device::Status::Refused);
  EXPECT_THAT(driven.lines, ElementsAre("JACK has no port left to receive from 1 source"));
  // It still waits for a port, and is told when it has one.
  driven.unuse("keys:" + ports[0]);
  keys.removeSource(ports[1]);
  EXPECT_TRUE(driven.runUntil([&] { return driven.uses.at("keys:" + ports[used]) == device::Status::Ok; }));
}

// Each connection takes effect with the next period, a sixth of a second later. One after the other, they would take
// longer than a client waits.
TEST_F(JackGraph, ManySourcesWaitForTheSamePeriod) {
  server.reset();
  JackServer slow(2048, 8192);
  constexpr int Many = 16;
  std::vector<std::string> ports;
  for (int number = 0; number < Many; ++number) ports.push_back("out" + std::to_string(number));
  JackPeer keys("keys", ports, {});
  Driven driven;
  for (const std::string& port : ports) EXPECT_EQ(driven.startUse("keys:" + port), std::nullopt);
  EXPECT_TRUE(driven.runUntil([&] { return driven.uses.size() == Many; }, std::chrono::seconds(20)));
  for (const auto& [source, status] : driven.uses) EXPECT_EQ(status, device::Status::Ok) << source;
}

TEST_F(JackGraph, ARenamedPortKeepsItsConnectionsAndItsTap) {
  JackPeer keys("keys", {"out"}, {});
  JackPeer synth("synth", {}, {"in"});
  Driven driven;
  ASSERT_EQ(driven.patch(true, "keys:out", "synth:in"), device::Status::Ok);
  keys.renameSource("out", "loud");
  ASSERT_TRUE(driven.runUntil([&] { return driven.links.contains("keys:loud synth:in"); }));
  EXPECT_FALSE(driven.isThere("keys:out"));
  EXPECT_THAT(driven.links, ElementsAre("keys:loud synth:in"));
}

// While a change waits for the next period, which does not come, JACK answers each question only after a period.
TEST_F(JackGraph, ConnectionsAreReadWhileOthersAreServed) {
  server.reset();
  JackServer slow(2048, 8192);
  constexpr int Many = 60;
  std::vector<std::string> ports;
  for (int number = 0; number < Many; ++number) ports.push_back("out" + std::to_string(number));
  JackPeer keys("keys", ports, {});
  JackPeer synth("synth", {}, {"in"});
  slow.tool("jack_connect", {"keys:out7", "synth:in"});
  Driven driven;
  ASSERT_TRUE(driven.runUntil([&] { return !driven.links.empty(); }));
  EXPECT_THAT(driven.links, ElementsAre("keys:out7 synth:in")) << "what exists at the start";
  keys.renameSource("out7", "loud");
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  const auto patch = driven.startPatch(true, "keys:out1", "synth:in");
  std::this_thread::sleep_for(std::chrono::milliseconds(5));
  slow.halt();
  driven.runFor(std::chrono::milliseconds(100));
  EXPECT_LT(driven.longestAdvance, std::chrono::milliseconds(500));
  slow.resume();
  EXPECT_EQ(driven.answer(patch), device::Status::Ok);
  EXPECT_TRUE(driven.runUntil([&] { return driven.links.size() == 2; }));
  EXPECT_THAT(driven.links, ElementsAre("keys:loud synth:in", "keys:out1 synth:in"));
}

TEST_F(JackGraph, TwoDriversShareOneServer) {
  JackPeer keys("keys", {"out"}, {});
  JackPeer synth("synth", {}, {"in"});
  Driven one;
  Driven other;
  ASSERT_EQ(one.patch(true, "keys:out", "synth:in"), device::Status::Ok);
  ASSERT_TRUE(other.runUntil([&] { return other.links.contains("keys:out synth:in"); }));
  ASSERT_EQ(other.patch(false, "keys:out", "synth:in"), device::Status::Ok);
  ASSERT_TRUE(one.runUntil([&] { return one.links.empty(); }));
  one.use("keys:out");
  other.use("keys:out");
  // JACK loses or repeats a period for a client that is late.
  const auto arrives = [&](Driven& driven) {
    return driven.runUntil([&] { return driven.emittedCount > 0; }, std::chrono::milliseconds(300));
  };
  for (int turn = 0; turn < 20 && (!arrives(one) || !arrives(other)); ++turn) keys.emit("out", {{0x90, 1, 2}});
  for (const Driven* driven : {&one, &other}) {
    EXPECT_THAT(driven->emittedTexts, AllOf(Not(IsEmpty()), Each("keys:out 0: 90 01 02")));
  }
}

}  // namespace
}  // namespace drivers::jack
