// What the library does when its service goes, comes back or is late.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include "platform/system/program_line.h"
#include "tests/platform/client/fixture.h"
#include "tests/platform/streamd/daemon_fixture.h"
#include "tests/platform/streamd/injector.h"
#include "tests/platform/streamd/quiet_device.h"
#include "tests/support/stream_daemon.h"

namespace streamd {
namespace {

using client::EndpointVariable;
using client::Patience;
using client::receiveUntil;
using client::RecordingPort;
using EvtSrv::EventPortManager;
using testsupport::Deadline;

class Attaching : public DaemonTest {};

TEST_F(Attaching, GraphRequestsNoticeThatTheServiceIsLost) {
  EventPortManager manager(Behaviour, true);
  StrmSrv::Patcher patcher(manager, 0);
  std::vector<StrmSrv::PortRecord> sinks;
  ASSERT_EQ(patcher.connect(6, 1, 5, 0), StrmSrv::StrmRes_Success);
  ASSERT_EQ(patcher.getConnectSinkPorts(6, 1, sinks), StrmSrv::StrmRes_Success);
  ASSERT_EQ(sinks.size(), 1U);
  testing::internal::CaptureStderr();
  kill();
  const Deadline deadline(Patience);
  while (patcher.getConnectSinkPorts(6, 1, sinks) == StrmSrv::StrmRes_Success) ASSERT_FALSE(deadline.passed());
  EXPECT_TRUE(sinks.empty());
  daemon_.restart();
  while (patcher.getConnectSinkPorts(6, 1, sinks) != StrmSrv::StrmRes_Success) ASSERT_FALSE(deadline.passed());
  EXPECT_TRUE(sinks.empty()) << "the new service's graph";
  const std::string line = sys::programLine(daemon_.endpoint() + ": ");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            line + "connection to the service lost\n" + line + "connected to the service again\n");
}

TEST_F(Attaching, GraphRequestsFindANewServiceWithoutTheirChannel) {
  EventPortManager manager(Behaviour, true);
  StrmSrv::Patcher patcher(manager, 0);
  kill();
  daemon_.restart();
  std::vector<StrmSrv::PortRecord> sinks;
  const Deadline deadline(Patience);
  while (patcher.getConnectSinkPorts(6, 1, sinks) != StrmSrv::StrmRes_Success) ASSERT_FALSE(deadline.passed());
}

// As one does that is started again on a system whose clients have come in another order.
TEST_F(Attaching, PortsAreFoundAgainAfterTheServiceRenumbersThem) {
  EventPortManager manager(Behaviour, true);
  StrmSrv::Patcher patcher(manager, 0);
  kill();
  device_.describe(R"(
[[group]]
id = 5
name = "Thru"
sinks = 1
[[group]]
id = 6
name = "MidiDin"
sources = 1
sinks = 1
[[group]]
id = 8
name = "MidiUsb"
sources = 3
[[connection]]
source = "MidiDinOut1"
sink = "ThruIn1"
[[connection]]
source = "MidiUsbOut3"
sink = "ThruIn1"
)");
  daemon_.restart();
  const Deadline deadline(Patience);
  // The very first change may be the one that finds the new service.
  auto result = patcher.connect(6, 1, 8, 0);
  while (result == StrmSrv::StrmRes_NoService && !deadline.passed()) result = patcher.connect(6, 1, 8, 0);
  EXPECT_EQ(result, StrmSrv::StrmRes_Success) << "MidiUsbOut2 to ThruIn1";
  std::vector<StrmSrv::PortRecord> sources;
  ASSERT_EQ(patcher.getConnectSourcePorts(8, 0, sources), StrmSrv::StrmRes_Success);
  std::vector<std::string> names;
  for (const auto& port : sources) names.push_back(patcher.makeStreamPortName(0, port.groupId, port.portIndex, 0));
  EXPECT_EQ(names, (std::vector<std::string>{"MidiDinOut1", "MidiUsbOut3", "MidiUsbOut2"}));
  EXPECT_STREQ(StrmSrv::GroupNameTable[5], "MidiDin");
  Injector injector(daemon_.socket());
  const auto topology = injector.control().ask<wire::Topology>(wire::AskTopology{injector.control().session()});
  ASSERT_TRUE(topology);
  ASSERT_EQ(topology->groups.size(), 3U);
  const auto links = injector.control().ask<wire::Links>(wire::AskLinks{injector.control().session()});
  ASSERT_TRUE(links);
  ASSERT_EQ(links->links.size(), 3U);
  EXPECT_EQ(links->links[2], (wire::LinkRecord{{topology->groups[2].handle, 1, topology->groups[0].handle, 0}}));
}

TEST_F(Attaching, ReceivingInsideAPortDoesNothingAfterTheServiceIsLost) {
  EventPortManager manager(Behaviour, true);
  RecordingPort port(manager);
  ASSERT_EQ(port.tap(Port), EvtSrv::EvtRes_Success);
  std::vector<EvtSrv::EventResult> nested;
  port.onFirstEvent = [&] {
    kill();
    const Deadline deadline(Patience);
    while (port.sendNoteOn(1, 1, 1) == StrmSrv::StrmRes_Success) ASSERT_FALSE(deadline.passed());
    nested.push_back(manager.receiveEvent(0));
  };
  {
    Injector injector(daemon_.socket());
    injector.inject(Port, 100);
    // Too long to share an event with the others, so there are at least two.
    ASSERT_TRUE(injector.control().inject(Port, {{0, std::vector<std::uint8_t>(2'000, 0xF0)}}));
    ASSERT_TRUE(injector.control().finish());
  }
  EXPECT_TRUE(receiveUntil(manager, [&] { return port.texts.size() == 101; })) << port.texts.size();
  EXPECT_EQ(nested, std::vector{EvtSrv::EvtRes_DoNothing});
}

TEST_F(Attaching, TapWithoutAnAnswerIsNotMadeLater) {
  EventPortManager manager(Behaviour, true);
  RecordingPort port(manager);
  ASSERT_EQ(port.tap(Port), EvtSrv::EvtRes_Success);
  ASSERT_EQ(port.tap("ThruIn1"), EvtSrv::EvtRes_Success);
  daemon_.signal(SIGSTOP);
  EXPECT_EQ(port.tap("MidiUsbOut1"), EvtSrv::EvtRes_NoService);
  EXPECT_EQ(port.tap(Port), EvtSrv::EvtRes_NoService) << "but it stands already";
  EXPECT_EQ(port.disconnect("ThruIn1", nullptr), EvtSrv::EvtRes_NoService) << "but it is to end";
  daemon_.signal(SIGCONT);
  // What was asked before is done before.
  const Deadline deadline(Patience);
  while (port.disconnect("MidiDinOut1", nullptr) != EvtSrv::EvtRes_DoNothing) ASSERT_FALSE(deadline.passed());
  Injector injector(daemon_.socket());
  EXPECT_EQ(injector.stats().clients.at(0).taps, 1U);
  EXPECT_EQ(port.disconnect(Port.c_str(), nullptr), EvtSrv::EvtRes_Success);
}

TEST_F(Attaching, SenderWaitsForAServiceThatIsStoppedAndLosesNothing) {
  constexpr int Count = 3'000;  // more than the window
  EventPortManager manager(Behaviour, true);
  RecordingPort port(manager);
  ASSERT_EQ(port.tap(Port), EvtSrv::EvtRes_Success);
  daemon_.signal(SIGSTOP);
  int failed = 0;
  std::thread sender([&] {
    for (int i = 0; i < Count; ++i) {
      if (port.sendNoteOn(1, 1, 0) != StrmSrv::StrmRes_Success) ++failed;
    }
  });
  // Longer than a service has for an answer.
  std::this_thread::sleep_for(channel::AnswerTime + std::chrono::milliseconds(500));
  daemon_.signal(SIGCONT);
  sender.join();
  EXPECT_EQ(failed, 0);
  EXPECT_TRUE(receiveUntil(manager, [&] { return port.texts.size() >= Count; }));
}

TEST_F(Attaching, SenderOfAServiceThatIsKilledFailsAtOnce) {
  EventPortManager manager(Behaviour, true);
  RecordingPort port(manager);
  ASSERT_EQ(port.tap(Port), EvtSrv::EvtRes_Success);
  daemon_.signal(SIGSTOP);
  StrmSrv::StreamResult last = StrmSrv::StrmRes_Success;
  testing::internal::CaptureStderr();
  std::thread sender([&] {
    while (last == StrmSrv::StrmRes_Success) last = port.sendNoteOn(1, 1, 0);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  daemon_.signal(SIGKILL);
  sender.join();
  EXPECT_EQ(last, StrmSrv::StrmRes_NoService);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            sys::programLine(daemon_.endpoint() + ": connection to the service lost\n"));
}

TEST(AttachingMany, AnyNumberOfTapsIsRestored) {
  constexpr int Many = 10'000;  // more than are made in the time that a single answer has
  const DeviceFile device("[[group]]\nid = 0\nname = \"Big\"\nsources = " + std::to_string(Many) + "\n");
  testsupport::StreamDaemon daemon{FLOWSCOPE_BINARY_DIR "/streamd", {"--device", device.path()}};
  const EndpointVariable endpoint{daemon.endpoint()};
  EventPortManager manager(Behaviour, true);
  RecordingPort port(manager);
  for (int i = 1; i <= Many; ++i) ASSERT_EQ(port.tap("BigOut" + std::to_string(i)), EvtSrv::EvtRes_Success);
  daemon.signal(SIGTERM);
  ASSERT_TRUE(daemon.waitForExit(Deadline(Patience)));
  daemon.restart();
  EXPECT_TRUE(receiveUntil(manager, [&] {
    return daemon.log().find("lost its connection") == std::string::npos &&
           port.tap("BigOut1") == EvtSrv::EvtRes_Success;
  }));
  Injector injector(daemon.socket());
  EXPECT_EQ(injector.stats().clients.at(0).taps, static_cast<std::uint32_t>(Many));
}

TEST_F(Attaching, SilentServiceIsNotQueriedRepeatedly) {
  EventPortManager manager(Behaviour, true);
  StrmSrv::Patcher patcher(manager, 0);
  RecordingPort port(manager);
  ASSERT_EQ(port.tap("ThruIn1"), EvtSrv::EvtRes_Success);
  daemon_.signal(SIGSTOP);
  const Deadline deadline(Patience);
  std::vector<StrmSrv::PortRecord> sinks;
  int answered = 0;
  for (int asked = 0; asked < 30 && !deadline.passed(); ++asked) {
    answered += patcher.getConnectSinkPorts(6, 1, sinks) == StrmSrv::StrmRes_Success ? 1 : 0;
    answered += patcher.connect(6, 1, 5, 0) == StrmSrv::StrmRes_Success ? 1 : 0;
    answered += port.tap(Port) == EvtSrv::EvtRes_Success ? 1 : 0;
  }
  EXPECT_FALSE(deadline.passed()) << "two seconds each would be three minutes";
  EXPECT_EQ(answered, 0);
  daemon_.signal(SIGCONT);
  while (patcher.getConnectSinkPorts(6, 1, sinks) != StrmSrv::StrmRes_Success) ASSERT_FALSE(deadline.passed());
  // What was asked of it while it was stopped has cost the client nothing.
  EXPECT_EQ(port.disconnect("ThruIn1", nullptr), EvtSrv::EvtRes_Success);
  EXPECT_EQ(daemon_.log().find("lost its connection"), std::string::npos) << daemon_.log();
}

}  // namespace
}  // namespace streamd
