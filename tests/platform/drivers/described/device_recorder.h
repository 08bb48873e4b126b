// What a driver emits, collected.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/device/driver.h"
#include "tests/platform/midi/smf_maker.h"

namespace drivers {

struct Emitted {
  device::PortId source;
  device::Time time;
  std::uint16_t group;
  std::string bytes;
  friend bool operator==(const Emitted&, const Emitted&) = default;
};

class DeviceRecorder : public device::DriverEvents {
 public:
  void emitted(device::PortId source, const device::Message& message, device::Time now) override {
    all.push_back({source, now, message.group, midi::toHex({message.bytes.begin(), message.bytes.end()})});
  }

  // A described device has no other system behind it.
  void linked(const device::Link& /*link*/, device::Time /*now*/) override { ADD_FAILURE() << "linked"; }
  void unlinked(const device::Link& /*link*/, device::Time /*now*/) override { ADD_FAILURE() << "unlinked"; }
  void topologyChanged(device::Time /*now*/) override { ADD_FAILURE() << "topologyChanged"; }
  void lost(device::PortId /*source*/, std::uint64_t count, device::Time /*now*/) override {
    ADD_FAILURE() << "lost " << count;
  }
  void patched(device::RequestId /*request*/, device::Status /*status*/, device::Time /*now*/) override {
    ADD_FAILURE() << "patched";
  }
  void used(device::PortId /*source*/, device::Status /*status*/, device::Time /*now*/) override {
    ADD_FAILURE() << "used";
  }
  void warned(std::string_view line) override { ADD_FAILURE() << "warned " << line; }
  void noted(std::string_view line) override { ADD_FAILURE() << "noted " << line; }

  std::vector<Emitted> all;
};

// Calls advance at each time that the driver asks for, until end.
inline void run(device::Driver& driver, device::Time from, device::Time end) {
  for (auto wanted = driver.advance(from); wanted && *wanted <= end; wanted = driver.advance(*wanted)) {
  }
}

}  // namespace drivers
