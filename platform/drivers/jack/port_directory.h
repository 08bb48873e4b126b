// JACK's port names and their places.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/drivers/foreign/port_book.h"

namespace drivers::jack {

// A MIDI port of JACK: its full name, CLIENT:PORT, and whether it emits.
using JackPort = std::pair<std::string, bool>;

// Clients are groups, in the order of their ports. A port is identified by its full name.
class PortDirectory {
 public:
  // Takes over the ports that exist now. Returns true if the topology has changed.
  bool update(const std::vector<JackPort>& ports);

  const device::Topology& topology() const { return book_.topology(); }

  // Returns the full name of an existing port; nullopt if there is none at this place.
  std::optional<std::string> name(device::PortId port) const;

  // Returns the name to show to users: the full name, or our own name if the port no longer exists.
  std::string text(device::PortId port) const { return name(port).value_or(topology().name(port)); }

  // Returns nullopt if no port has this name now.
  std::optional<device::PortId> place(const std::string& name, device::Side side) const;

  // Returns the connection between these ports; nullopt unless both exist, the first as a source, the other as a sink.
  std::optional<device::Link> link(const std::string& source, const std::string& sink) const;

  // Returns all clients that have ports now, in order, with their names alone: these are unique in JACK.
  const std::vector<ForeignClient>& clients() const { return clients_; }

 private:
  using Keys = std::unordered_map<std::string, std::uint64_t>;

  std::uint64_t keyOf(const std::string& name, Keys& now);

  PortBook book_;
  Keys keys_;                                             // of all existing clients and ports
  std::unordered_map<std::uint64_t, std::string> names_;  // of all existing clients and ports, by key
  std::uint64_t nextKey_ = 0;
  std::vector<ForeignClient> clients_;
};

}  // namespace drivers::jack
