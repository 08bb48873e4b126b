// Groups and ports that have come since the consoles of this process have listed the device.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>

#include "platform/wire/messages.h"

namespace client {

// Compares, by name, the groups and ports of a device with those that consoles of this process list. A new one is
// reported once, and once more when it goes and comes back. One that comes and goes between two looks is not reported.
class Arrivals {
 public:
  // A console lists these from now on.
  void list(const wire::Topology& topology);

  // True when any console lists anything, or nothing of an empty device.
  bool isListed() const { return isListed_; }

  // The device has this topology now. Returns the line that reports what is new, nullopt when nothing is.
  std::optional<std::string> look(const wire::Topology& now);

 private:
  // The ports of a group by a key that is unique in it. All numbered ports of a side share one entry.
  struct Ports {
    std::string firstName;
    std::size_t count = 1;
  };
  using PortsOfGroup = std::map<std::string, Ports>;
  using Groups = std::unordered_map<std::string, PortsOfGroup>;

  static PortsOfGroup portsOf(const wire::TopologyGroup& group);

  bool isListed_ = false;
  Groups listed_;
  Groups told_;  // those that are there, but not listed
};

}  // namespace client
