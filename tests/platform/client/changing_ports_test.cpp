#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/platform/client/changing_ports.h"

namespace client {
namespace {

using Names = std::vector<std::string>;
using service::in;
using service::link;
using service::out;
using StrmSrv::GroupRecord;
using StrmSrv::Patcher;
using StrmSrv::PortRecord;

TEST_F(ChangingPorts, ListsHaveNoGaps) {
  setPorts({group(0, "A", {"a", "", "c"}, {""}), group(1, "B", {""}, {"x"}), group(2, "C", {""}, {""})});
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
  Patcher patcher(manager, 0);
  EXPECT_EQ(patcher.sourceGroups(), (std::vector<GroupRecord>{{0, 2}}));
  EXPECT_EQ(patcher.sinkGroups(), (std::vector<GroupRecord>{{1, 1}}));
  EXPECT_EQ(patcher.makeStreamPortName(0, 0, 0, 0), "a");
  EXPECT_EQ(patcher.makeStreamPortName(0, 0, 1, 0), "c");
  EXPECT_NE(patcher.makeStreamPortName(0, 0, 2, 0), "AGoneOut1");

  EXPECT_EQ(patcher.connect(0, 1, 1, 0), StrmSrv::StrmRes_Success) << "c to x";
  Ports ports;
  patcher.getConnectSourcePorts(1, 0, ports);
  EXPECT_EQ(ports, (Ports{{0, 1}}));
  patcher.getConnectSinkPorts(0, 1, ports);
  EXPECT_EQ(ports, (Ports{{1, 0}}));
  EXPECT_EQ(patcher.connect(0, 2, 1, 0), StrmSrv::StrmRes_NotFound);
  EXPECT_EQ(patcher.disconnect(0, 1, 1, 0), StrmSrv::StrmRes_Success);
  patcher.getConnectSinkPorts(0, 1, ports);
  EXPECT_EQ(ports, Ports{});
}

TEST_F(ChangingPorts, PortsThatComeLaterAreNamedWhereTheyAreConnected) {
  setPorts({group(0, "A", {"a"}, {})});
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
  Patcher patcher(manager, 0);
  setPorts({group(0, "A", {"a"}, {}), group(3, "Later", {}, {"l0", "l1"})});
  connectPorts(link(out(0, 0), in(3, 1)));
  ASSERT_EQ(sinksOf(patcher, {0, 0}, 1), (Ports{{3, 1}}));
  EXPECT_EQ(patcher.makeStreamPortName(0, 3, 1, 1), "l1");
  EXPECT_STREQ(StrmSrv::GroupNameTable[3], "Later");
  EXPECT_EQ(patcher.sinkGroups(), std::vector<GroupRecord>{}) << "the lists are those of the beginning";
  EXPECT_EQ(patcher.disconnect(0, 0, 3, 1), StrmSrv::StrmRes_Success);
}

// However soon after each other: with the news that the port is connected, which the news of the next connection
// follow.
TEST_F(ChangingPorts, EachPortThatComesLaterIsNamedAtOnce) {
  constexpr std::uint16_t Count = 5;
  const device::Group beginning = group(0, "A", {"a", "next"}, {"x0", "x1", "x2", "x3", "x4"});
  setPorts({beginning});
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
  Patcher patcher(manager, 0);
  Names names;
  Names expected;
  Names listed;
  for (std::uint16_t index = 0; index < Count; ++index) {
    names.push_back("l" + std::to_string(index));
    expected.insert(expected.end(), names.begin(), names.end());
    setPorts({beginning, group(3, "Later", {}, names)});
    connectPorts(link(out(0, 0), in(3, index)));
    connectPorts(link(out(0, 1), in(0, index)));
    ASSERT_EQ(sinksOf(patcher, {0, 1}, index + 1U).size(), index + 1U);
    Ports ports;
    patcher.getConnectSinkPorts(0, 0, ports);
    for (const PortRecord port : ports)
      listed.push_back(patcher.makeStreamPortName(0, port.groupId, port.portIndex, 1));
  }
  EXPECT_EQ(listed, expected);
}

TEST_F(ChangingPorts, VersionChangesWithPortsThatComeAndGo) {
  setPorts({group(0, "A", {"a", "b"}, {"x"})});
  connectPorts(link(out(0, 0), in(0, 0)));
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
  Patcher patcher(manager, 0);
  auto before = patcher.version();
  // What has come is on its way, and a look that comes 50 microseconds after another one has the same answer.
  const auto changesSoon = [&] {
    const testsupport::Deadline deadline(Patience);
    while (patcher.version() == before && !deadline.passed()) usleep(100);
    const auto now = patcher.version();
    return std::exchange(before, now) != now;
  };
  setPorts({group(0, "A", {"a", "b"}, {"x"}), group(3, "Later", {}, {"l0", "l1"})});
  connectPorts(link(out(0, 1), in(3, 1)));
  EXPECT_TRUE(changesSoon());
  Ports ports;
  patcher.getConnectSinkPorts(0, 1, ports);
  EXPECT_EQ(ports, (Ports{{3, 1}}));
  EXPECT_TRUE(changesSoon()) << "the port has a name now that it had not before";
  patcher.getConnectSinkPorts(0, 1, ports);
  EXPECT_EQ(patcher.version(), before);
  setPorts({group(0, "A", {"", "b"}, {"x"}), group(3, "Later", {}, {"l0", "l1"})});
  EXPECT_TRUE(changesSoon());
}

TEST_F(ChangingPorts, PortThatHasGoneKeepsItsNameAndHasNoConnections) {
  setPorts({group(0, "A", {"a", "b"}, {"x"})});
  connectPorts(link(out(0, 0), in(0, 0)));
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
  Patcher patcher(manager, 0);
  EXPECT_EQ(sinksOf(patcher, {0, 0}, 1), (Ports{{0, 0}}));
  setPorts({group(0, "A", {"", "b"}, {"x"})});
  EXPECT_EQ(sinksOf(patcher, {0, 0}, 0), Ports{});
  EXPECT_EQ(patcher.makeStreamPortName(0, 0, 0, 0), "a");
  EXPECT_EQ(patcher.connect(0, 0, 0, 0), StrmSrv::StrmRes_NotFound);
  EXPECT_EQ(patcher.connect(0, 1, 0, 0), StrmSrv::StrmRes_Success);
}

// More than there are names for: those that are there now have them.
TEST_F(ChangingPorts, GroupsAreNamedHoweverManyHaveComeAndGone) {
  for (std::uint64_t handle = 1'000; handle < 1'100; ++handle) {
    setPorts({group(0, "Stays", {}, {"in"}), group(handle, "Comes", {"out"}, {})});
    EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
    const Patcher patcher(manager, 0);
    ASSERT_EQ(patcher.sourceGroups(), (std::vector<GroupRecord>{{1, 1}})) << handle;
    ASSERT_STREQ(StrmSrv::GroupNameTable[1], "Comes");
  }
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
  Patcher patcher(manager, 0);
  EXPECT_EQ(patcher.connect(1, 0, 0, 0), StrmSrv::StrmRes_Success);
  Ports ports;
  patcher.getConnectSourcePorts(0, 0, ports);
  EXPECT_EQ(ports, (Ports{{1, 0}}));
}

// The lists of a process agree about what an id is called.
TEST_F(ChangingPorts, IdKeepsItsNameWhilePatchersComeAndGo) {
  setPorts({group(1'000, "A", {"a"}, {}), group(1'001, "B", {}, {"b"})});
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
  Patcher first(manager, 0);
  setPorts({group(1'002, "C", {"c"}, {}), group(1'001, "B", {}, {"b"})});
  {
    EvtSrv::EventPortManager other(EvtSrv::ConBehave_Default, true);
    Patcher second(other, 0);
    EXPECT_EQ(second.sourceGroups(), (std::vector<GroupRecord>{{2, 1}}));
    EXPECT_EQ(second.sinkGroups(), (std::vector<GroupRecord>{{1, 1}}));
    EXPECT_STREQ(StrmSrv::GroupNameTable[0], "A");
    EXPECT_STREQ(StrmSrv::GroupNameTable[2], "C");
    EXPECT_EQ(second.connect(2, 0, 1, 0), StrmSrv::StrmRes_Success);
  }
  EXPECT_EQ(first.connect(0, 0, 1, 0), StrmSrv::StrmRes_NotFound) << "its handle has gone";
  Ports ports;
  first.getConnectSourcePorts(1, 0, ports);
  ASSERT_EQ(ports.size(), 1U);
  EXPECT_EQ(first.makeStreamPortName(0, ports[0].groupId, ports[0].portIndex, 0), "c");
  EXPECT_STREQ(StrmSrv::GroupNameTable[ports[0].groupId], "C");
}

// As a program that has been away for long.
TEST_F(ChangingPorts, GroupThatComesBackUnderAnotherHandleIsFoundAgain) {
  setPorts({group(1'000, "A", {"a0", "a"}, {}), group(1'001, "B", {}, {"b"})});
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
  Patcher patcher(manager, 0);
  setPorts({group(1'001, "B", {}, {"b"}), group(1'007, "A", {"a"}, {})});
  connectPorts(link(out(1'007, 0), in(1'001, 0)));
  Ports ports;
  patcher.getConnectSourcePorts(1, 0, ports);
  EXPECT_EQ(ports, (Ports{{0, 1}}));
  EXPECT_EQ(patcher.disconnect(0, 1, 1, 0), StrmSrv::StrmRes_Success);
  EXPECT_EQ(patcher.connect(0, 0, 1, 0), StrmSrv::StrmRes_NotFound);
}

// The very first request finds it, and both of its ports, though nothing else has asked for them.
TEST_F(ChangingPorts, GroupsThatComeBackUnderOtherHandlesAreConnectedAtOnce) {
  setPorts({group(1'000, "A", {"a"}, {}), group(1'001, "B", {}, {"b"})});
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
  Patcher patcher(manager, 0);
  setPorts({group(1'007, "B", {}, {"b"}), group(1'008, "A", {"a"}, {})});
  EXPECT_EQ(patcher.connect(0, 0, 1, 0), StrmSrv::StrmRes_Success);
  EXPECT_EQ(sinksOf(patcher, {0, 0}, 1), (Ports{{1, 0}}));
}

// Their ports say so themselves: nobody who is known is connected to them.
TEST_F(ChangingPorts, GroupsThatComeBackUnderOtherHandlesShowTheirConnections) {
  setPorts({group(1'000, "A", {"a"}, {}), group(1'001, "B", {}, {"b"})});
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
  Patcher patcher(manager, 0);
  Patcher other(manager, 0);
  setPorts({group(1'007, "B", {}, {"b"}), group(1'008, "A", {"a"}, {})});
  connectPorts(link(out(1'008, 0), in(1'007, 0)));
  const auto before = patcher.version();
  Ports ports;
  EXPECT_TRUE(receiveUntil(manager, [&] {
    patcher.getConnectSinkPorts(0, 0, ports);
    return !ports.empty();
  }));
  EXPECT_EQ(ports, (Ports{{1, 0}}));
  EXPECT_NE(patcher.version(), before);
  EXPECT_EQ(sinksOf(other, {0, 0}, 1), (Ports{{1, 0}}));
  const auto after = patcher.version();
  EXPECT_EQ(patcher.version(), after) << "it has been seen";
}

// As one does that waits for a driver. What the library asks by itself is not to cost a command its answer.
}  // namespace
}  // namespace client
