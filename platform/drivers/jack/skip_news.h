// Of which sources it is to be told that JACK has gone on without us.
#pragma once

#include <map>
#include <optional>
#include <vector>

#include "platform/device/port.h"

namespace drivers::jack {

// Each source at once, and then once a second at most: on a busy machine periods are skipped all the time.
class SkipNews {
 public:
  // A period was skipped in which this source was used.
  void add(device::PortId source) { news_[source].waits = true; }

  // The source is used no more: what still waits of it concerns nobody.
  void forget(device::PortId source) { news_.erase(source); }

  // The sources that are due, in order.
  std::vector<device::PortId> take(device::Time now);

  // When the next one will be due; nothing when none is waiting. Add first, then take, then ask this.
  std::optional<device::Time> next() const;

 private:
  struct News {
    bool waits = false;
    std::optional<device::Time> told{};
  };

  std::map<device::PortId, News> news_;
};

}  // namespace drivers::jack
