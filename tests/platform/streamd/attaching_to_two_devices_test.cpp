// What a client is told when a service that carries connections between two devices comes back.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <string>
#include <vector>

#include "platform/system/program_line.h"
#include "tests/platform/client/fixture.h"
#include "tests/platform/streamd/daemon_fixture.h"
#include "tests/platform/streamd/quiet_device.h"
#include "tests/support/stream_daemon.h"

namespace streamd {
namespace {

using client::EndpointVariable;
using client::Patience;
using client::receiveUntil;
using EvtSrv::EventPortManager;
using testsupport::Deadline;

class AttachingToTwoDevices : public testing::Test {
 protected:
  std::string goneAndBack() const {
    return line + "connection to the service lost\n" + line + "connected to the service again\n";
  }

  const DeviceFile device{"[[group]]\nid = 41\nname = \"Rack\"\nsinks = 2\n"};
  testsupport::StreamDaemon daemon{FLOWSCOPE_BINARY_DIR "/streamd", {"--driver", "builtin", "--device", device.path()}};
  const EndpointVariable endpoint{daemon.endpoint()};
  const std::string line = sys::programLine(daemon.endpoint() + ": ");
  const std::string lost = line + "lost when the service restarted: the connection of ";
};

// Those within a device stand as it says; those between two are the service's alone.
TEST_F(AttachingToTwoDevices, ConnectionsThatTheServiceHasLostAreReportedInOneLine) {
  EventPortManager manager(Behaviour, true);
  StrmSrv::Patcher patcher(manager, 0);
  EXPECT_STREQ(StrmSrv::GroupNameTable[41], "Rack") << "as the file says";
  ASSERT_EQ(patcher.connect(0, 0, 41, 0), StrmSrv::StrmRes_Success);
  ASSERT_EQ(patcher.connect(6, 1, 41, 1), StrmSrv::StrmRes_Success);
  ASSERT_EQ(patcher.connect(0, 0, 41, 1), StrmSrv::StrmRes_Success);
  ASSERT_EQ(patcher.disconnect(0, 0, 41, 1), StrmSrv::StrmRes_Success);
  ASSERT_EQ(patcher.connect(0, 0, 4, 3), StrmSrv::StrmRes_Success);
  testing::internal::CaptureStderr();
  const Deadline deadline(Patience);
  std::vector<StrmSrv::PortRecord> sinks;
  const auto restart = [&] {
    daemon.signal(SIGKILL);
    ASSERT_TRUE(daemon.waitForExit(deadline));
    while (patcher.getConnectSinkPorts(0, 0, sinks) == StrmSrv::StrmRes_Success) ASSERT_FALSE(deadline.passed());
    daemon.restart();
    while (patcher.getConnectSinkPorts(0, 0, sinks) != StrmSrv::StrmRes_Success) ASSERT_FALSE(deadline.passed());
  };
  restart();
  EXPECT_EQ(sinks, (std::vector<StrmSrv::PortRecord>{{4, 0}, {2, 0}})) << "as at the start";
  restart();
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            goneAndBack() + lost + "\"KeyboardOut1\" to \"RackIn1\" and 1 more between two systems\n" + goneAndBack())
      << "and once";
}

// A console that only listens does not ask for the connections, and is told of what others do all the same.
TEST_F(AttachingToTwoDevices, ChangesOfOtherClientsReachAClientThatAsksNothing) {
  EventPortManager idle(Behaviour, true);
  {
    StrmSrv::Patcher patcher(idle, 0);
    ASSERT_EQ(patcher.connect(0, 0, 41, 0), StrmSrv::StrmRes_Success);
  }
  {
    EventPortManager manager(Behaviour, true);
    StrmSrv::Patcher patcher(manager, 0);
    ASSERT_EQ(patcher.disconnect(0, 0, 41, 0), StrmSrv::StrmRes_Success);
    ASSERT_EQ(patcher.connect(6, 1, 41, 1), StrmSrv::StrmRes_Success);
    ASSERT_EQ(patcher.connect(0, 0, 4, 3), StrmSrv::StrmRes_Success);
  }
  const Deadline meanwhile(std::chrono::milliseconds(1000));
  while (!meanwhile.passed()) idle.receiveEvent(20);
  testing::internal::CaptureStderr();
  daemon.signal(SIGKILL);
  const Deadline deadline(Patience);
  ASSERT_TRUE(daemon.waitForExit(deadline));
  daemon.restart();
  const std::string expected = goneAndBack() + lost + "\"MidiUsbOut2\" to \"RackIn2\"\n";
  std::string said;
  EXPECT_TRUE(receiveUntil(idle, [&] {
    said += testing::internal::GetCapturedStderr();
    testing::internal::CaptureStderr();
    return said.size() >= expected.size();
  }));
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(said, expected);
}

}  // namespace
}  // namespace streamd
