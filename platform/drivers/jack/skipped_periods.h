// The sources for which skipped periods are to be reported.
#pragma once

#include <map>
#include <optional>
#include <vector>

#include "platform/device/port.h"

namespace drivers::jack {

// Reports each source at once, and then at most once a second: on a busy machine periods are skipped all the time.
class SkippedPeriods {
 public:
  // A period was skipped while this source was used.
  void add(device::PortId source) { reports_[source].waits = true; }

  // The source is no longer used: drops what waits for it.
  void forget(device::PortId source) { reports_.erase(source); }

  // Returns the sources that are due, in order.
  std::vector<device::PortId> take(device::Time now);

  // Returns when the next source is due; nullopt if none waits. Call add first, then take, then this.
  std::optional<device::Time> next() const;

 private:
  struct Report {
    bool waits = false;
    std::optional<device::Time> told{};
  };

  std::map<device::PortId, Report> reports_;
};

}  // namespace drivers::jack
