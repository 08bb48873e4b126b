// A patcher whose service is started again with a device that changes.
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/platform/client/fixture.h"
#include "tests/platform/client/obeying_device.h"
#include "tests/platform/host/running_host.h"
#include "tests/support/scratch_folder.h"

namespace client {
namespace {

using service::in;
using service::link;
using service::out;
using StrmSrv::Patcher;
using StrmSrv::PortRecord;
using Ports = std::vector<PortRecord>;

class ReturningService : public testing::Test {
 protected:
  ReturningService() { start(); }

  void start() {
    auto device = std::make_unique<ObeyingDevice>(told_);
    device_ = device.get();
    host_ = std::make_unique<host::RunningHost>(socket_, std::move(device));
  }

  void stop() { host_.reset(); }

  void setPorts(const std::vector<device::Group>& groups) {
    device_->act([&](ObeyingDevice& device) { device.change(device::Topology(groups)); });
  }

  // "a" to the place's port, which is what it is called.
  static std::vector<std::string> sinksOfTheFirst(Patcher& patcher, std::size_t count) {
    const testsupport::Deadline deadline(Patience);
    Ports ports;
    do {
      patcher.getConnectSinkPorts(0, 0, ports);
    } while (ports.size() != count && !deadline.passed());
    std::vector<std::string> names;
    for (const PortRecord port : ports) {
      names.push_back(patcher.makeStreamPortName(0, port.groupId, port.portIndex, 1));
    }
    return names;
  }

  testsupport::ScratchFolder folder_;
  std::string socket_ = folder_.path() / "service";
  std::string address_ = "ipc://" + socket_;
  EndpointVariable endpoint_{address_};
  service::Told told_;
  ObeyingDevice* device_ = nullptr;
  std::unique_ptr<host::RunningHost> host_;
};

// A patcher that has seen the port "b" come behind "x", and then another service in its place that has "x" alone.
class LatePortOfAServiceThatReturned : public ReturningService {
 protected:
  void SetUp() override {
    setPorts({group(0, "A", {"a"}, {"x"})});
    manager.emplace(EvtSrv::ConBehave_Default, true);
    patcher.emplace(*manager, 0);
    setPorts({group(0, "A", {"a"}, {"x", "b"})});
    device_->act([&](ObeyingDevice& device) { device.events().linked(link(out(0, 0), in(0, 1)), {}); });
    ASSERT_EQ(sinksOfTheFirst(*patcher, 1), std::vector<std::string>{"b"});
    Ports ports;
    patcher->getConnectSinkPorts(0, 0, ports);
    ASSERT_EQ(ports.size(), 1U);
    b = ports[0];

    stop();
    const testsupport::Deadline deadline(Patience);
    while (patcher->getConnectSinkPorts(0, 0, ports) == StrmSrv::StrmRes_Success) ASSERT_FALSE(deadline.passed());
    start();
    setPorts({group(0, "A", {"a"}, {"x"})});
    while (patcher->getConnectSinkPorts(0, 0, ports) != StrmSrv::StrmRes_Success) ASSERT_FALSE(deadline.passed());
    EXPECT_TRUE(ports.empty());
  }

  std::optional<EvtSrv::EventPortManager> manager;
  std::optional<Patcher> patcher;
  PortRecord b{};
};

// The first service's later port has gone with it; the second one's has its index, but is another.
TEST_F(LatePortOfAServiceThatReturned, IsNotTakenForAnotherOne) {
  setPorts({group(0, "A", {"a"}, {"x", "c"})});
  device_->act([&](ObeyingDevice& device) { device.events().linked(link(out(0, 0), in(0, 1)), {}); });
  EXPECT_EQ(sinksOfTheFirst(*patcher, 1), std::vector<std::string>{"c"});
  EXPECT_EQ(patcher->disconnect(0, 0, b.groupId, b.portIndex), StrmSrv::StrmRes_NotFound) << "b's place";
  EXPECT_EQ(sinksOfTheFirst(*patcher, 1), std::vector<std::string>{"c"});
}

TEST_F(LatePortOfAServiceThatReturned, HasItsPlaceAgainAtTheFirstRequest) {
  setPorts({group(0, "A", {"a"}, {"x", "b"})});
  EXPECT_EQ(patcher->connect(0, 0, b.groupId, b.portIndex), StrmSrv::StrmRes_Success);
  EXPECT_EQ(sinksOfTheFirst(*patcher, 1), std::vector<std::string>{"b"});
}

}  // namespace
}  // namespace client
