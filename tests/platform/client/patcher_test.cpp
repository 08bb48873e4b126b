// The patch graph as clients see it, over real sockets.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/wire/messages.h"
#include "tests/platform/client/fixture.h"

namespace client {
namespace {

using EvtSrv::EventPortManager;
using StrmSrv::GroupRecord;
using StrmSrv::Patcher;
using StrmSrv::PortRecord;

constexpr std::uint32_t Behaviour = EvtSrv::ConBehave_Default;
using Ports = std::vector<PortRecord>;

Ports sinksOf(Patcher& patcher, std::uint16_t group, std::uint16_t port) {
  Ports ports{{9, 9}};
  EXPECT_EQ(patcher.getConnectSinkPorts(group, port, ports), StrmSrv::StrmRes_Success);
  return ports;
}

Ports sourcesOf(Patcher& patcher, std::uint16_t group, std::uint16_t port) {
  Ports ports{{9, 9}};
  EXPECT_EQ(patcher.getConnectSourcePorts(group, port, ports), StrmSrv::StrmRes_Success);
  return ports;
}

TEST(Patcher, ListsGroupsOfEachSide) {
  using device::SideOfGroup;
  device::Topology topology({{5, "Five", SideOfGroup{2, "FiveOut", {}}, std::nullopt, {}, 5},
                             {3, "Three", SideOfGroup{0, "ThreeOut", {}}, SideOfGroup{1, "ThreeIn", {}}, {}, 3},
                             {60, "Sixty", std::nullopt, SideOfGroup{2, "", {"left", "right"}}, {}, 60}});
  TestService service(std::move(topology), {});
  EventPortManager manager(Behaviour, true);
  Patcher patcher(manager, 0);
  EXPECT_EQ(patcher.sourceGroups(), (std::vector<GroupRecord>{{5, 2}, {3, 0}}));
  EXPECT_EQ(patcher.sinkGroups(), (std::vector<GroupRecord>{{3, 1}, {60, 2}}));
  EXPECT_STREQ(StrmSrv::GroupNameTable[5], "Five");
  EXPECT_STREQ(StrmSrv::GroupNameTable[3], "Three");
  EXPECT_EQ(patcher.makeStreamPortName(0, 5, 1, 0), "FiveOut2");
  EXPECT_EQ(patcher.makeStreamPortName(0, 60, 1, 1), "right");
  EXPECT_EQ(patcher.makeStreamPortName(0, 60, 2, 1), "SixtyIn3");
  EXPECT_EQ(patcher.makeStreamPortName(0, 7, 0, 0), "Group7Out1");

  Patcher audio(manager, 1);
  EXPECT_EQ(audio.sourceGroups(), std::vector<GroupRecord>{});
  EXPECT_EQ(audio.sinkGroups(), std::vector<GroupRecord>{});
}

TEST(Patcher, SeesItsOwnChangesAtOnce) {
  TestService service;
  EventPortManager manager(Behaviour, true);
  Patcher patcher(manager, 0);
  for (int i = 0; i < 300; ++i) {
    ASSERT_EQ(patcher.connect(0, 0, 1, 1), StrmSrv::StrmRes_Success);
    ASSERT_EQ(sinksOf(patcher, 0, 0), (Ports{{1, 1}})) << i;
    ASSERT_EQ(sourcesOf(patcher, 1, 1), (Ports{{0, 0}})) << i;
    ASSERT_EQ(patcher.disconnect(0, 0, 1, 1), StrmSrv::StrmRes_Success);
    ASSERT_EQ(sinksOf(patcher, 0, 0), Ports{}) << i;
    ASSERT_EQ(sourcesOf(patcher, 1, 1), Ports{}) << i;
  }
}

TEST(Patcher, ReportsUnknownPortsAndConnections) {
  TestService service;
  EventPortManager manager(Behaviour, true);
  Patcher patcher(manager, 0);
  EXPECT_EQ(patcher.connect(0, 0, 1, 1), StrmSrv::StrmRes_Success);
  EXPECT_EQ(patcher.connect(0, 0, 1, 1), StrmSrv::StrmRes_Success);
  EXPECT_EQ(sinksOf(patcher, 0, 0), (Ports{{1, 1}}));
  EXPECT_EQ(patcher.connect(0, 2, 1, 1), StrmSrv::StrmRes_NotFound);
  EXPECT_EQ(patcher.connect(0, 0, 9, 1), StrmSrv::StrmRes_NotFound);
  EXPECT_EQ(patcher.disconnect(0, 0, 1, 0), StrmSrv::StrmRes_NotFound);
  EXPECT_EQ(patcher.disconnect(0, 0, 1, 1), StrmSrv::StrmRes_Success);
  EXPECT_EQ(sinksOf(patcher, 7, 7), Ports{});
}

TEST(Patcher, ListsConnectionsInTheOrderOfMaking) {
  TestService service;
  EventPortManager manager(Behaviour, true);
  Patcher patcher(manager, 0);
  patcher.connect(0, 0, 2, 1);
  patcher.connect(0, 0, 1, 0);
  patcher.connect(0, 0, 2, 0);
  patcher.connect(0, 0, 1, 1);
  patcher.disconnect(0, 0, 1, 0);
  patcher.connect(0, 0, 1, 0);
  const Ports order{{2, 1}, {2, 0}, {1, 1}, {1, 0}};
  EXPECT_EQ(sinksOf(patcher, 0, 0), order);
  EventPortManager later(Behaviour, true);
  Patcher newcomer(later, 0);
  EXPECT_EQ(sinksOf(newcomer, 0, 0), order);
}

TEST(Patcher, VersionChangesWithTheGraph) {
  TestService service;
  EventPortManager manager(Behaviour, true);
  Patcher patcher(manager, 0);
  const auto first = patcher.version();
  sinksOf(patcher, 0, 0);
  EXPECT_EQ(patcher.version(), first);
  patcher.connect(0, 0, 1, 1);
  const auto connected = patcher.version();
  EXPECT_NE(connected, first);
  patcher.connect(0, 0, 1, 1);
  sinksOf(patcher, 0, 0);
  EXPECT_EQ(patcher.version(), connected) << "stands already";
  patcher.disconnect(0, 0, 1, 1);
  const auto disconnected = patcher.version();
  EXPECT_NE(disconnected, connected);
  EXPECT_NE(disconnected, first);
}

TEST(Patcher, VersionChangesWithTheChangeOfAnotherClient) {
  TestService service;
  EventPortManager mine(Behaviour, true);
  Patcher patcher(mine, 0);
  EventPortManager theirs(Behaviour, true);
  Patcher theirPatcher(theirs, 0);
  for (const bool made : {true, false}) {
    const auto before = patcher.version();
    EXPECT_EQ(made ? theirPatcher.connect(0, 0, 1, 0) : theirPatcher.disconnect(0, 0, 1, 0), StrmSrv::StrmRes_Success);
    const testsupport::Deadline deadline(Patience);
    while (patcher.version() == before && !deadline.passed()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_NE(patcher.version(), before);
    EXPECT_EQ(sinksOf(patcher, 0, 0), made ? (Ports{{1, 0}}) : Ports{});
  }
}

TEST(Patcher, VersionChangesWhenTheServiceGoes) {
  TestService service;
  auto manager = std::make_unique<EventPortManager>(Behaviour, true);
  Patcher patcher(*manager, 0);
  patcher.connect(0, 0, 1, 0);
  const auto before = patcher.version();
  manager.reset();
  const auto after = patcher.version();
  EXPECT_NE(after, before);
  Ports ports;
  EXPECT_EQ(patcher.getConnectSinkPorts(0, 0, ports), StrmSrv::StrmRes_NoService);
  EXPECT_EQ(patcher.version(), after) << "nobody answers anything else any more";
}

TEST(Patcher, MessagesFollowConnections) {
  TestService service;
  EventPortManager manager(Behaviour, true);
  Patcher patcher(manager, 0);
  RecordingPort port(manager);
  RecordingPort sink(manager);
  patcher.connect(0, 0, 1, 1);
  port.tap("G0Out1");
  sink.tap("G1In2");
  port.sendNoteOn(1, 2, 3);
  ASSERT_TRUE(receiveUntil(manager, [&] { return !sink.texts.empty(); }));
  EXPECT_EQ(sink.texts, std::vector<std::string>{"G1In2: 1 2 3"});
}

TEST(Patcher, TwoManagersOnTwoThreadsSeeEachOther) {
  TestService service;
  EventPortManager mine(Behaviour, true);
  Patcher patcher(mine, 0);
  std::atomic<bool> seen{false};
  std::thread other([&] {
    EventPortManager theirs(Behaviour, true);
    Patcher theirPatcher(theirs, 0);
    theirPatcher.connect(0, 0, 1, 0);
    // Answers to what it sees of the other.
    const testsupport::Deadline deadline(Patience);
    while (sinksOf(theirPatcher, 0, 1) != Ports{{1, 1}} && !deadline.passed()) theirs.receiveEvent(1);
    theirPatcher.disconnect(0, 0, 1, 0);
    seen = !deadline.passed();
  });
  const auto waitFor = [&](const Ports& ports) {
    const testsupport::Deadline deadline(Patience);
    while (sinksOf(patcher, 0, 0) != ports && !deadline.passed()) mine.receiveEvent(1);
    return sinksOf(patcher, 0, 0);
  };
  EXPECT_EQ(waitFor({{1, 0}}), (Ports{{1, 0}}));
  EXPECT_EQ(patcher.connect(0, 1, 1, 1), StrmSrv::StrmRes_Success);
  EXPECT_EQ(waitFor({}), Ports{});
  other.join();
  EXPECT_TRUE(seen);
}

TEST(Patcher, TwoManagersMayChangeTheGraphAtOnce) {
  constexpr int Times = 300;
  TestService service;
  const auto toggle = [](std::uint16_t port, int& wrong) {
    EventPortManager manager(Behaviour, true);
    Patcher patcher(manager, 0);
    for (int i = 0; i < Times; ++i) {
      if (patcher.connect(0, port, 1, port) != StrmSrv::StrmRes_Success) ++wrong;
      if (sinksOf(patcher, 0, port) != Ports{{1, port}}) ++wrong;
      if (patcher.disconnect(0, port, 1, port) != StrmSrv::StrmRes_Success) ++wrong;
      if (sinksOf(patcher, 0, port) != Ports{}) ++wrong;
    }
  };
  int wrongHere = 0;
  int wrongThere = 0;
  std::thread other([&] { toggle(1, wrongThere); });
  toggle(0, wrongHere);
  other.join();
  EXPECT_EQ(wrongHere, 0);
  EXPECT_EQ(wrongThere, 0);
}

TEST(Patcher, CatchesUpAfterMissingTooManyChanges) {
  TestService service(host::Settings{.service = {}, .eventWindow = 0, .sendWindow = 1024, .graphWindow = 0});
  EventPortManager sleeper(Behaviour, true);
  EventPortManager worker(Behaviour, true);
  Patcher sleeping(sleeper, 0);
  Patcher working(worker, 0);
  EXPECT_EQ(sinksOf(sleeping, 0, 0), Ports{});
  for (std::uint64_t i = 0; i < wire::MinGraphWindow; ++i) {
    ASSERT_EQ(working.connect(0, 0, 1, 1), StrmSrv::StrmRes_Success);
    ASSERT_EQ(working.disconnect(0, 0, 1, 1), StrmSrv::StrmRes_Success);
  }
  working.connect(0, 0, 2, 0);
  EXPECT_EQ(sinksOf(sleeping, 0, 0), (Ports{{2, 0}}));
  EXPECT_EQ(sleeping.connect(0, 0, 2, 1), StrmSrv::StrmRes_Success);
  EXPECT_EQ(sinksOf(sleeping, 0, 0), (Ports{{2, 0}, {2, 1}}));
  // It may have looked for news just before.
  const testsupport::Deadline deadline(Patience);
  while (sinksOf(working, 0, 0).size() < 2 && !deadline.passed()) worker.receiveEvent(1);
  EXPECT_EQ(sinksOf(working, 0, 0), (Ports{{2, 0}, {2, 1}}));
}

TEST(Patcher, HundredThousandPortsAreLookedUpWithoutTheService) {
  constexpr std::uint16_t PortsPerGroup = 50'000;
  TestService service(service::evenTopology(2, PortsPerGroup), {});
  EventPortManager manager(Behaviour, true);
  Patcher patcher(manager, 0);
  ASSERT_EQ(patcher.connect(0, 77, 1, 49'999), StrmSrv::StrmRes_Success);
  Ports found;
  Ports ports;
  for (std::uint16_t group = 0; group < 2; ++group) {
    for (std::uint16_t port = 0; port < PortsPerGroup; ++port) {
      ASSERT_EQ(patcher.getConnectSinkPorts(group, port, ports), StrmSrv::StrmRes_Success);
      found.insert(found.end(), ports.begin(), ports.end());
    }
  }
  EXPECT_EQ(found, (Ports{{1, 49'999}}));
}

TEST(Patcher, OutlivesItsManager) {
  TestService service;
  auto manager = std::make_unique<EventPortManager>(Behaviour, true);
  Patcher patcher(*manager, 0);
  manager.reset();
  Ports ports{{9, 9}};
  EXPECT_EQ(patcher.getConnectSinkPorts(0, 0, ports), StrmSrv::StrmRes_NoService);
  EXPECT_EQ(ports, Ports{});
  EXPECT_EQ(patcher.connect(0, 0, 1, 1), StrmSrv::StrmRes_NoService);
  EXPECT_EQ(patcher.sourceGroups().size(), 3U);
  EXPECT_EQ(patcher.makeStreamPortName(0, 1, 1, 1), "G1In2");
}

}  // namespace
}  // namespace client
