// Taps of ports that are not there when a service comes back.

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "platform/system/program_line.h"
#include "tests/platform/client/fixture.h"
#include "tests/platform/host/running_host.h"
#include "tests/support/scratch_folder.h"

namespace client {
namespace {

using service::out;

// Has ports as soon as it is told so. Each of its sources emits one message when somebody wants it.
std::unique_ptr<device::Driver> deviceWithPortsLater(const std::atomic<bool>& hasPorts, service::Told& told) {
  auto device = std::make_unique<service::TestDevice>(device::Topology(), std::vector<device::Link>{}, told);
  device->onAdvance = [&hasPorts, changing = device.get()](device::DriverEvents&, device::Time now) {
    if (hasPorts && changing->topology().groups().empty()) changing->change(service::evenTopology(1, 2), now);
    return std::optional<device::Time>(now + std::chrono::milliseconds(1));
  };
  device->onUsed = [](device::DriverEvents& events, device::PortId source, bool used, device::Time now) {
    const std::vector<std::uint8_t> note{0x90, 1, 2};
    if (used) events.emitted(source, {3, note}, now);
  };
  return device;
}

TEST(MissingTaps, AreMadeWhenTheirPortsAppear) {
  const testsupport::ScratchFolder folder;
  const std::string socket = folder.path() / "socket";
  const std::string endpoint = "ipc://" + socket;
  const EndpointVariable variable(endpoint);
  std::atomic<bool> hasPorts{true};
  service::Told told;
  auto service = std::make_unique<host::RunningHost>(socket, deviceWithPortsLater(hasPorts, told));
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
  RecordingPort port(manager);
  const testsupport::Deadline deadline(Patience);
  while (port.tap("G0Out2") != EvtSrv::EvtRes_Success) ASSERT_FALSE(deadline.passed());
  ASSERT_TRUE(receiveUntil(manager, [&] { return port.texts.size() == 1; }));

  testing::internal::CaptureStderr();
  service.reset();
  hasPorts = false;
  service = std::make_unique<host::RunningHost>(socket, deviceWithPortsLater(hasPorts, told));
  // An answer that only the new service gives.
  while (port.tap("G0Out1") != EvtSrv::EvtRes_NotFound) ASSERT_FALSE(deadline.passed());
  manager.receiveEvent(0);
  hasPorts = true;
  EXPECT_TRUE(receiveUntil(manager, [&] { return port.texts.size() == 2; }));
  EXPECT_EQ(port.texts.back(), "G0Out2: 1 2 3");
  const std::string line = sys::programLine(endpoint + ": ");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), line + "connection to the service lost\n" + line +
                                                        "connected to the service again, 0 of 1 tap restored\n" + line +
                                                        "1 tap restored\n");
}

}  // namespace
}  // namespace client
