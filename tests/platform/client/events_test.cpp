// Taps and what they bring, over real sockets.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/platform/client/fixture.h"

namespace client {
namespace {

using EvtSrv::EventPortManager;
using Texts = std::vector<std::string>;

constexpr std::uint32_t Behaviour = EvtSrv::ConBehave_Default;

TEST(Events, TappedPortBringsMessagesThatPassThePort) {
  TestService service;
  EventPortManager manager(Behaviour, true);
  RecordingPort port(manager);
  ASSERT_EQ(port.tap("G0Out1"), EvtSrv::EvtRes_Success);
  ASSERT_EQ(port.sendNoteOn(60, 64, 7), StrmSrv::StrmRes_Success);
  ASSERT_TRUE(receiveUntil(manager, [&] { return !port.texts.empty(); }));
  EXPECT_EQ(port.texts, Texts{"G0Out1: 60 64 7"});
}

TEST(Events, TappingReportsUnknownPortsAndBadArguments) {
  TestService service;
  EventPortManager manager(Behaviour, true);
  RecordingPort port(manager);
  EvtSrv::MemoryHolder holder(1004);
  const std::string tooLong(64, 'n');
  EXPECT_EQ(port.tap("G0Out1"), EvtSrv::EvtRes_Success);
  EXPECT_EQ(port.tap("G0Out1"), EvtSrv::EvtRes_Success);
  EXPECT_EQ(port.tap("Nobody"), EvtSrv::EvtRes_NotFound);
  EXPECT_EQ(port.tap(""), EvtSrv::EvtRes_NotFound);
  EXPECT_EQ(port.tap(tooLong), EvtSrv::EvtRes_BadArgument);
  EXPECT_EQ(port.connect(nullptr, EvtSrv::DebugPortName, nullptr, &holder, 0), EvtSrv::EvtRes_BadArgument);
  EXPECT_EQ(port.connect("G0Out1", nullptr, nullptr, &holder, 0), EvtSrv::EvtRes_BadArgument);
  EXPECT_EQ(port.connect("G0Out1", "G0In1", nullptr, &holder, 0), EvtSrv::EvtRes_BadArgument);
  EXPECT_EQ(port.connect("G0Out2", EvtSrv::DebugPortName, nullptr, nullptr, 0), EvtSrv::EvtRes_Success);
  EXPECT_EQ(port.disconnect("G0Out1", nullptr), EvtSrv::EvtRes_Success);
  EXPECT_EQ(port.disconnect("G0Out1", nullptr), EvtSrv::EvtRes_DoNothing);
  EXPECT_EQ(port.disconnect("Nobody", nullptr), EvtSrv::EvtRes_DoNothing);
  EXPECT_EQ(port.disconnect(tooLong.c_str(), nullptr), EvtSrv::EvtRes_BadArgument);
  EXPECT_EQ(port.disconnect(nullptr, nullptr), EvtSrv::EvtRes_Success);
  EXPECT_EQ(port.disconnect("G0Out2", nullptr), EvtSrv::EvtRes_DoNothing) << "that one went with all";
}

TEST(Events, SecondTapOfOnePortBringsNothingTwice) {
  TestService service;
  EventPortManager manager(Behaviour, true);
  RecordingPort port(manager);
  port.tap("G0Out1");
  port.tap("G0Out1");
  port.sendNoteOn(1, 1, 0);
  port.sendNoteOn(2, 2, 0);
  ASSERT_TRUE(receiveUntil(manager, [&] { return port.texts.size() >= 2; }));
  EXPECT_EQ(port.texts, (Texts{"G0Out1: 1 1 0", "G0Out1: 2 2 0"}));
}

TEST(Events, LongMessageArrivesWhole) {
  TestService service;
  EventPortManager manager(Behaviour, true);
  RecordingPort port(manager);
  port.tap("G1In2");
  std::vector<std::uint8_t> bytes(1U << 20U, 0x41);
  bytes.front() = 0xF0;
  bytes.back() = 0xF7;
  ASSERT_EQ(port.sendSystemExclusive(bytes.data(), bytes.size(), 3), StrmSrv::StrmRes_Success);
  ASSERT_TRUE(receiveUntil(manager, [&] { return !port.texts.empty(); }));
  EXPECT_EQ(port.texts, Texts{"G1In2: 1048576 bytes to 247 3"});
}

TEST(Events, EachPortGetsItsOwnTaps) {
  TestService service;
  EventPortManager manager(Behaviour, true);
  RecordingPort one(manager);
  RecordingPort two(manager);
  one.tap("G0Out1");
  two.tap("G0Out2");
  two.tap("G0Out1");
  one.sendNoteOn(5, 6, 0);
  ASSERT_TRUE(receiveUntil(manager, [&] { return !one.texts.empty() && !two.texts.empty(); }));
  EXPECT_EQ(one.texts, Texts{"G0Out1: 5 6 0"});
  EXPECT_EQ(two.texts, Texts{"G0Out1: 5 6 0"});
}

TEST(Events, NothingComesAfterDisconnect) {
  TestService service;
  EventPortManager manager(Behaviour, true);
  RecordingPort port(manager);
  RecordingPort witness(manager);
  port.tap("G0Out1");
  witness.tap("G0Out1");
  port.disconnect(nullptr, nullptr);
  witness.sendNoteOn(1, 1, 0);
  ASSERT_TRUE(receiveUntil(manager, [&] { return !witness.texts.empty(); }));
  EXPECT_EQ(port.texts, Texts{});
}

TEST(Events, PortMayWorkWithTheLibraryWhileItReceives) {
  TestService service;
  EventPortManager manager(Behaviour, true);
  RecordingPort port(manager);
  RecordingPort other(manager);
  port.tap("G0Out1");
  std::vector<int> results;
  port.onFirstEvent = [&] {
    results.push_back(other.tap("G1Out1"));
    results.push_back(other.sendNoteOn(9, 9, 0));
    results.push_back(port.disconnect("G0Out1", nullptr));
    results.push_back(manager.receiveEvent(1000));
  };
  port.sendNoteOn(1, 1, 0);
  ASSERT_TRUE(receiveUntil(manager, [&] { return !other.texts.empty(); }));
  EXPECT_EQ(results, (std::vector<int>{EvtSrv::EvtRes_Success, StrmSrv::StrmRes_Success, EvtSrv::EvtRes_Success,
                                       EvtSrv::EvtRes_DoNothing}));
  EXPECT_EQ(other.texts, Texts{"G1Out1: 9 9 0"});
}

TEST(Events, PortDestroyedWhileEventsAreOnTheirWayIsSkipped) {
  TestService service;
  EventPortManager manager(Behaviour, true);
  RecordingPort sender(manager);
  auto doomed = std::make_unique<RecordingPort>(manager);
  RecordingPort after(manager);
  doomed->tap("G0Out1");
  sender.tap("G0Out1");
  after.tap("G0Out1");
  doomed->onFirstEvent = [] { FAIL() << "received after its end"; };
  sender.sendNoteOn(1, 1, 0);
  sender.disconnect(nullptr, nullptr);
  doomed.reset();
  ASSERT_TRUE(receiveUntil(manager, [&] { return !after.texts.empty(); }));
  EXPECT_EQ(after.texts, Texts{"G0Out1: 1 1 0"});
}

class SelfEndingPort : public EvtSrv::EventPort {
 public:
  SelfEndingPort(EventPortManager& manager, std::unique_ptr<SelfEndingPort>& owner)
      : EventPort(manager), owner_(owner) {}

  EvtSrv::EventResult receiveMain(const char* /*name*/, unsigned /*type*/, EvtSrv::MemoryHolder* /*data*/,
                                  EvtSrv::MemoryHolder* /*reply*/) override {
    owner_.reset();
    return EvtSrv::EvtRes_Success;
  }

 private:
  std::unique_ptr<SelfEndingPort>& owner_;
};

TEST(Events, PortMayEndItselfWhileItReceives) {
  TestService service;
  EventPortManager manager(Behaviour, true);
  RecordingPort witness(manager);
  std::unique_ptr<SelfEndingPort> port;
  port = std::make_unique<SelfEndingPort>(manager, port);
  port->connect("G0Out1", EvtSrv::DebugPortName, nullptr, nullptr, 0);
  witness.tap("G0Out1");
  witness.sendNoteOn(1, 1, 0);
  witness.sendNoteOn(2, 2, 0);
  ASSERT_TRUE(receiveUntil(manager, [&] { return witness.texts.size() == 2; }));
  EXPECT_EQ(port, nullptr);
}

TEST(Events, ReceiveReturnsWhetherAnEventArrived) {
  TestService service;
  EventPortManager manager(Behaviour, true);
  RecordingPort port(manager);
  EXPECT_EQ(manager.receiveEvent(0), EvtSrv::EvtRes_DoNothing);
  EXPECT_EQ(manager.receiveEvent(-5), EvtSrv::EvtRes_DoNothing);
  EXPECT_EQ(manager.receiveEvent(1), EvtSrv::EvtRes_DoNothing);
  EXPECT_EQ(manager.finishActiveTerm(100), EvtSrv::EvtRes_DoNothing);
  port.tap("G0Out1");
  port.sendNoteOn(1, 1, 0);
  EXPECT_EQ(manager.receiveEvent(10'000), EvtSrv::EvtRes_Success);
}

TEST(Events, ReceiveKeepsEventsThatItHadNoTimeFor) {
  TestService service;
  EventPortManager manager(Behaviour, true);
  RecordingPort port(manager);
  // Each message an event of its own, and all of them in few messages.
  EvtSrv::MemoryHolder small(21);
  port.connect("G0Out1", EvtSrv::DebugPortName, nullptr, &small, 0);
  Texts expected;
  for (std::uint8_t note = 0; note < 100; ++note) {
    port.sendNoteOn(note, 1, 0);
    expected.push_back("G0Out1: " + std::to_string(note) + " 1 0");
  }
  std::size_t most = 0;
  std::size_t before = 0;
  const testsupport::Deadline deadline(Patience);
  while (port.texts.size() < expected.size() && !deadline.passed()) {
    manager.receiveEvent(0);
    most = std::max(most, port.texts.size() - before);
    before = port.texts.size();
  }
  EXPECT_EQ(port.texts, expected);
  EXPECT_EQ(most, 1U) << "without time it gives out no more than one event";
}

}  // namespace
}  // namespace client
