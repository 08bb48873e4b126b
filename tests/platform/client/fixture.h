// Managers on a service of this process.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "evtsrv.h"
#include "platform/host/embedded_service.h"
#include "platform/reach/running_services.h"
#include "strmsrv.h"
#include "tests/platform/service/device.h"
#include "tests/support/deadline.h"

namespace client {

inline constexpr std::chrono::seconds Patience{20};

// Sets the variable for the library while it lives.
class EndpointVariable {
 public:
  explicit EndpointVariable(const std::string& endpoint) { setenv("EVTSRV_ENDPOINT", endpoint.c_str(), 1); }
  EndpointVariable(const EndpointVariable&) = delete;
  EndpointVariable& operator=(const EndpointVariable&) = delete;
  ~EndpointVariable() { unsetenv("EVTSRV_ENDPOINT"); }
};

// A service on a test's device, for the managers that are made while it lives.
class TestService {
 public:
  // Three groups with two sources and two sinks each: "G0Out1" to "G2In2".
  explicit TestService(const host::Settings& limits = {}) : TestService(service::evenTopology(3, 2), limits) {}

  // prepare: called with the device before it is used.
  TestService(device::Topology topology, const host::Settings& limits,
              const std::function<void(service::TestDevice&)>& prepare = {}) {
    auto device = std::make_unique<service::TestDevice>(std::move(topology), std::vector<device::Link>{}, told_);
    device->remembersDeliveries = false;
    if (prepare) prepare(*device);
    service_ = std::make_shared<host::EmbeddedService>(std::move(device), limits);
    reach::shareService("test", service_);
  }

  const std::shared_ptr<host::EmbeddedService>& service() { return service_; }

  // What the device was told. Ends the service; no manager may be left.
  const service::Told& end() {
    service_.reset();
    return told_;
  }

 private:
  service::Told told_;
  std::shared_ptr<host::EmbeddedService> service_;
  EndpointVariable endpoint_{"embedded:test"};
};

// A port that keeps what it receives, as "NAME: BYTES GROUP".
class RecordingPort : public StrmSrv::StreamPortMIDI {
 public:
  using StreamPortMIDI::StreamPortMIDI;

  EvtSrv::EventResult receiveMain(const char* name, unsigned type, EvtSrv::MemoryHolder* data,
                                  EvtSrv::MemoryHolder* reply) override {
    name_ = name;
    const auto result = StreamPortMIDI::receiveMain(name, type, data, reply);
    if (const auto once = std::exchange(onFirstEvent, nullptr)) once();
    return result;
  }

  void receiveNoteOn(std::uint8_t note, std::uint8_t velocity, std::uint16_t group) override {
    texts.push_back(name_ + ": " + std::to_string(note) + ' ' + std::to_string(velocity) + ' ' + std::to_string(group));
  }

  void receiveSystemExclusive(const std::uint8_t* bytes, std::size_t length, std::uint16_t group) override {
    texts.push_back(name_ + ": " + std::to_string(length) + " bytes to " + std::to_string(bytes[length - 1]) + ' ' +
                    std::to_string(group));
  }

  EvtSrv::EventResult tap(const std::string& name) {
    EvtSrv::MemoryHolder holder(1004);
    return connect(name.c_str(), EvtSrv::DebugPortName, nullptr, &holder, EvtSrv::ConBehave_Void);
  }

  std::vector<std::string> texts;
  std::function<void()> onFirstEvent;

 private:
  std::string name_;
};

// Receives until done says so. False when that takes too long.
inline bool receiveUntil(EvtSrv::EventPortManager& manager, const std::function<bool()>& done) {
  const testsupport::Deadline deadline(Patience);
  while (!done()) {
    if (deadline.passed()) return false;
    manager.receiveEvent(20);
  }
  return true;
}

}  // namespace client
