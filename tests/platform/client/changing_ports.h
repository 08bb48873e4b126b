// A client of a device whose ports come and go, and which takes no more for a while.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

#include "tests/platform/client/fixture.h"
#include "tests/platform/client/obeying_device.h"

namespace client {

using Ports = std::vector<StrmSrv::PortRecord>;

// What a port is connected to, once that is so many ports: a question soon after another one has the same answer, and
// news take their time. What there is after a while otherwise.
inline Ports sinksOf(StrmSrv::Patcher& patcher, StrmSrv::PortRecord source, std::size_t count) {
  const testsupport::Deadline deadline(Patience);
  Ports ports;
  do {
    patcher.getConnectSinkPorts(source.groupId, source.portIndex, ports);
  } while (ports.size() != count && !deadline.passed());
  return ports;
}

class ChangingPorts : public testing::Test {
 protected:
  ChangingPorts() {
    auto device = std::make_unique<ObeyingDevice>(told_);
    device_ = device.get();
    service_ = std::make_shared<host::EmbeddedService>(std::move(device));
    reach::shareService("test", service_);
  }

  void setPorts(const std::vector<device::Group>& groups) {
    device_->act([&](ObeyingDevice& device) { device.change(device::Topology(groups)); });
  }

  void connectPorts(const device::Link& made) {
    device_->act([&](ObeyingDevice& device) { device.events().linked(made, {}); });
  }

  service::Told told_;
  ObeyingDevice* device_ = nullptr;
  std::shared_ptr<host::EmbeddedService> service_;
  EndpointVariable endpoint_{"embedded:test"};
};

}  // namespace client
