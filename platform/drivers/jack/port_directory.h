// JACK's names of ports, and their places.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/drivers/foreign/port_book.h"

namespace drivers::jack {

// A MIDI port of JACK's: its full name, CLIENT:PORT, and whether it emits.
using JackPort = std::pair<std::string, bool>;

// Clients are groups, in the order of their ports; a port is known by its full name.
class PortDirectory {
 public:
  // What is there now. Answers whether the topology has changed.
  bool update(const std::vector<JackPort>& ports);

  const device::Topology& topology() const { return book_.topology(); }

  // The name of a port that is there; nothing when none is at this place.
  std::optional<std::string> name(device::PortId port) const;

  // What a port is called for people: as above, and a port that has gone by the name that it has here.
  std::string text(device::PortId port) const { return name(port).value_or(topology().name(port)); }

  // Nothing for a name that no port has now.
  std::optional<device::PortId> place(const std::string& name, device::Side side) const;

  // The names of all clients that have ports now, in order.
  const std::vector<std::string>& clients() const { return clients_; }

 private:
  using Keys = std::unordered_map<std::string, std::uint64_t>;

  std::uint64_t keyOf(const std::string& name, Keys& now);

  PortBook book_;
  Keys keys_;                                             // of all that are there, clients and ports
  std::unordered_map<std::uint64_t, std::string> names_;  // of all that are there, by key
  std::uint64_t nextKey_ = 0;
  std::vector<std::string> clients_;
};

}  // namespace drivers::jack
