// The ports that one port is connected to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <unordered_map>
#include <vector>

#include "platform/channel/service_port.h"

namespace channel {

// Ports in the order of adding, without duplicates. Removing one takes the same time however many there are. No port
// has the index 65535.
class PeerList {
 public:
  void add(ServicePort port);

  // Removes a port if it is in the list.
  void remove(ServicePort port);

  bool empty() const { return ports_.size() == gapCount(); }

  // All ports. Costs as much as copying them. Valid until the next change.
  std::span<const ServicePort> all();

 private:
  // The position of each port, once a list is long and loses some.
  struct Places {
    std::unordered_map<ServicePort, std::size_t, ServicePortHash> of;
    std::size_t gaps = 0;  // left by removed ports
  };

  std::size_t gapCount() const { return places_ ? places_->gaps : 0; }
  void close();

  std::vector<ServicePort> ports_;
  std::unique_ptr<Places> places_;
};

}  // namespace channel
