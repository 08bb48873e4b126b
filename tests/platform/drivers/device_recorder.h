// What a driver emits, collected.
#pragma once

#include <string>
#include <vector>

#include "platform/drivers/driver.h"
#include "tests/platform/drivers/smf_maker.h"

namespace service {

struct Emitted {
  PortId source;
  Time time;
  std::uint16_t group;
  std::string bytes;
  friend bool operator==(const Emitted&, const Emitted&) = default;
};

class DeviceRecorder : public DriverEvents {
 public:
  void emitted(PortId source, const Message& message, Time now) override {
    all.push_back({source, now, message.group, toHex({message.bytes.begin(), message.bytes.end()})});
  }

  std::vector<Emitted> all;
};

// Calls advance at each time that the driver asks for, until end.
inline void run(Driver& driver, Time from, Time end) {
  for (auto wanted = driver.advance(from); wanted && *wanted <= end; wanted = driver.advance(*wanted)) {
  }
}

}  // namespace service
