// A JACK server that is not there, or goes and comes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <functional>
#include <optional>
#include <string>
#include <thread>

#include "tests/platform/drivers/jack/server/driven.h"
#include "tests/platform/drivers/jack/server/jack_peer.h"
#include "tests/platform/drivers/jack/server/jack_server.h"
#include "tests/platform/drivers/jack/server/peer_process.h"

namespace drivers::jack {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class JackFaults : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string why = JackServer::whyNot(); !why.empty()) GTEST_SKIP() << why;
    JackServer::choose();
  }
};

TEST_F(JackFaults, WithoutAServerThereIsACauseAndNoDriver) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const auto opened = openJack(Absent::Fails);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  ASSERT_TRUE(std::holds_alternative<std::string>(opened));
  EXPECT_EQ(std::get<std::string>(opened), "no JACK server is running");
}

TEST_F(JackFaults, DriverWaitsForAServer) {
  Driven driven(Absent::IsWaitedFor);
  EXPECT_THAT(driven.topology().groups(), IsEmpty());
  JackServer server;
  ASSERT_TRUE(driven.runUntil([&] { return driven.lines.size() == 2; }));
  EXPECT_THAT(driven.lines,
              ElementsAre("warning: no JACK server is running; trying again", "warning: connected to the JACK server"));
  JackPeer keys("keys", {"out"}, {});
  EXPECT_TRUE(driven.runUntilThere("keys:out"));
}

// It is the program's own thread, which must still die of a pipe that nobody reads.
TEST_F(JackFaults, ThreadThatStartsADriverKeepsItsSignals) {
  JackServer server;
  sigset_t pipe;
  sigemptyset(&pipe);
  sigaddset(&pipe, SIGPIPE);
  sigset_t before;
  sigset_t after;
  pthread_sigmask(SIG_UNBLOCK, &pipe, &before);
  const Driven driven;
  pthread_sigmask(SIG_SETMASK, &before, &after);
  EXPECT_EQ(sigismember(&after, SIGPIPE), 0);
}

TEST_F(JackFaults, DriverThatStillWaitsForAServerEndsAtOnce) {
  { Driven driven(Absent::IsWaitedFor); }
  SUCCEED();
}

// JACK loses what falls into a period for which a program was late, as happens on a busy machine. So these send again
// until something arrives.
bool arrives(Driven& driven, PeerProcess& peer, const std::string& event) {
  driven.forget();
  for (int turn = 0; turn < 10 && driven.emittedCount == 0; ++turn) {
    peer.emit(event);
    driven.runUntil([&] { return driven.emittedCount > 0; }, std::chrono::seconds(1));
  }
  return driven.emittedCount > 0;
}

bool isHeard(PeerProcess& peer, const std::string& event, const std::function<void()>& send) {
  for (int turn = 0; turn < 3; ++turn) {
    send();
    while (const auto next = peer.arrived()) {
      if (*next == event) return true;
    }
  }
  return false;
}

// What must be there again after a server has ended and come back.
void endAndReturn(void (JackServer::*end)()) {
  JackServer server;
  std::optional<PeerProcess> peer;
  peer.emplace("peer", "out", "in");
  Driven driven;
  driven.use("peer:out");
  ASSERT_EQ(driven.patch(true, "peer:out", "peer:in"), device::Status::Ok);
  EXPECT_TRUE(isHeard(*peer, "90 01 01", [&] { driven.deliver("peer:in", {0x90, 1, 1}); }));
  const device::PortId source = driven.place("peer:out");
  for (int turn = 0; turn < 2; ++turn) {
    driven.lines.clear();
    (server.*end)();
    ASSERT_TRUE(driven.runUntil([&] { return !driven.lines.empty(); }));
    EXPECT_THAT(driven.lines, ElementsAre("warning: connection to the JACK server lost"));
    EXPECT_FALSE(driven.isThere("peer:out"));
    EXPECT_THAT(driven.links, IsEmpty());
    EXPECT_EQ(driven.patch(true, "peer:out", "peer:in"), device::Status::NotFound);
    peer.reset();
    server.startAlone();
    ASSERT_TRUE(driven.runUntil([&] { return driven.lines.size() > 1; }));
    peer.emplace("peer", "out", "in");
    ASSERT_TRUE(driven.runUntilThere("peer:out"));
    EXPECT_THAT(driven.lines, ElementsAre("warning: connection to the JACK server lost",
                                          "warning: connected to the JACK server again"));
    EXPECT_EQ(driven.place("peer:out"), source);
    server.tool("jack_connect", {"peer:out", "peer:in"});
    ASSERT_TRUE(driven.runUntil([&] { return driven.links.contains("peer:out peer:in"); }));
    // The tap was restored when the port came; its connection is in effect a few periods later.
    driven.runFor(std::chrono::milliseconds(100));
    EXPECT_TRUE(arrives(driven, *peer, "95 01 02"));
    EXPECT_THAT(driven.emittedTexts, ElementsAre("peer:out 5: 90 01 02")) << "once";
    EXPECT_TRUE(isHeard(*peer, "95 01 02", [&] { peer->emit("95 01 02"); }));
    EXPECT_TRUE(isHeard(*peer, "90 03 04", [&] { driven.deliver("peer:in", {0x90, 3, 4}); }));
    EXPECT_EQ(driven.lines.size(), 2U);
  }
}

TEST_F(JackFaults, DriverReturnsToAServerThatEndsAndReturns) { endAndReturn(&JackServer::stop); }

// Four ports of the server's own, two of the peer, and none of ours. (The first place holds no port.)
TEST_F(JackFaults, ServerThatReturnsWithoutRoomIsTold) {
  JackServer server;
  std::optional<PeerProcess> peer;
  peer.emplace("peer", "out", "in");
  Driven driven;
  ASSERT_TRUE(driven.use("peer:out"));
  server.kill();
  ASSERT_TRUE(driven.runUntil([&] { return !driven.isThere("peer:out"); }));
  peer.reset();
  server.limit(7);
  server.start();
  // Before the driver can take one of its ports.
  peer.emplace("peer", "out", "in");
  EXPECT_TRUE(driven.runUntil([&] { return driven.uses.at("peer:out") == device::Status::Refused; }));
  EXPECT_THAT(driven.lines, Contains("JACK has no port left to receive from 1 source"));
}

// Whatever has arrived when a server ends, no turn takes more of it than others.
TEST_F(JackFaults, WhatAServerHasBroughtIsTakenInPiecesAfterItsEnd) {
  constexpr std::size_t EventBytes = 8'000;
  constexpr std::size_t PieceBytes = std::size_t{64} * 1024;
  JackServer server;
  PeerProcess peer("peer", "out", "in");
  Driven driven;
  driven.keepTexts = false;
  ASSERT_TRUE(driven.use("peer:out"));
  std::string event = "F0";
  for (std::size_t i = 2; i < EventBytes; ++i) event += " 11";
  for (int i = 0; i < 60; ++i) peer.emit(event + " F7");
  std::this_thread::sleep_for(std::chrono::seconds(3));
  server.kill();
  std::size_t before = 0;
  std::size_t most = 0;
  ASSERT_TRUE(driven.runUntil([&] {
    most = std::max(most, driven.emittedBytes.size() - before);
    before = driven.emittedBytes.size();
    return !driven.isThere("peer:out");
  }));
  EXPECT_GT(before, 2 * PieceBytes) << "more than one piece";
  EXPECT_LE(most, PieceBytes + EventBytes);
}

TEST_F(JackFaults, DriverReturnsToAServerThatIsKilledAndReturns) { endAndReturn(&JackServer::kill); }

}  // namespace
}  // namespace drivers::jack
