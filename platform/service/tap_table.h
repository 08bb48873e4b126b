// Which client taps which port.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/device/port.h"
#include "platform/device/port_hash.h"
#include "platform/service/client_id.h"

namespace service {

// One tap of a device port.
struct Tap {
  ClientId client{};
  EventPortId eventPort{};
  std::uint32_t holderBytes = 0;  // the largest event that several records may share
  std::uint64_t order = 0;        // grows with each tap made
};

// The taps of all clients. A tap is a client, one of its event ports, and a device port with its name.
class TapTable {
 public:
  // The taps and the name of one port, also after the port was removed or dropped.
  struct TappedPort {
    std::string name;
    std::vector<Tap> taps;  // in the order of tapping
  };

  // Returns false, without a change, if this tap already exists.
  bool add(ClientId client, EventPortId eventPort, device::PortId port, std::uint32_t holderBytes,
           std::string_view name);

  // Returns false if there is no such tap.
  bool remove(ClientId client, EventPortId eventPort, device::PortId port);

  // Ends all taps of an event port, or of a client. Returns the ports that now have no tap, each once.
  std::vector<device::PortId> removeAll(ClientId client, EventPortId eventPort);
  std::vector<device::PortId> removeClient(ClientId client);

  // Returns the taps of a port, in the order of tapping. Valid until the next change.
  std::span<const Tap> of(device::PortId port) const;

  // Like of, with the port's name; null if the port has no taps. Valid until the next change.
  const TappedPort* find(device::PortId port) const;

  // All ports that have taps, in no particular order.
  std::vector<device::PortId> ports() const;

  // Moves all taps of one port to another, where they stand in the order of tapping.
  void move(device::PortId from, device::PortId to);

  // How many taps a client has.
  std::uint32_t count(ClientId client) const;

  // Returns the ports that an event port taps, in the order of tapping.
  std::vector<device::PortId> tappedBy(ClientId client, EventPortId eventPort) const;

 private:
  using EventPortKey = std::pair<ClientId, EventPortId>;
  using TappedPorts = std::map<std::uint64_t, device::PortId>;  // by order

  void dropFromPort(device::PortId port, std::uint64_t order, std::vector<device::PortId>* ended);

  std::unordered_map<device::PortId, TappedPort, device::PortHash> taps_;
  std::map<EventPortKey, TappedPorts> tapped_;
  std::uint64_t nextOrder_ = 0;
};

}  // namespace service
