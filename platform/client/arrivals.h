// What has come that a console does not list.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>

#include "platform/wire/messages.h"

namespace client {

// Compares the groups and ports of a device with those that consoles of this process list, by their names. What has
// come is told of once, and again when it has gone and come back meanwhile; what has come and gone between two looks is
// not.
class Arrivals {
 public:
  // A console lists these from now on.
  void list(const wire::Topology& topology);

  // True when any console lists anything, or nothing of an empty device.
  bool isListed() const { return isListed_; }

  // These are there now. Answers what there is to say of those that have come: who, and that a new console shows them.
  std::optional<std::string> look(const wire::Topology& now);

 private:
  // The ports of a group by a text that is another for each; numbered ports of a side are one.
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
