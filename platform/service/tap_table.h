// Which client taps which port.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/device/port.h"
#include "platform/service/client_id.h"
#include "platform/service/memory_ledger.h"
#include "platform/service/ordered_list.h"
#include "platform/service/port_map.h"

namespace service {

// One tap of a device port.
struct Tap {
  ClientId client{};
  EventPortId eventPort{};
  std::uint32_t holderBytes = 0;  // the largest event that several records may share
  std::uint64_t order = 0;        // grows with each tap made
};

// The taps of all clients. A tap is a client, one of its event ports, and a device port with its name.
//
// Making, finding and ending one tap costs the same however many there are, on the port, of the client, or in all. Many
// taps that end together end at once for everybody, and leave work behind that sweep does in pieces.
//
// Enters in a ledger what the taps of each user take, until they are forgotten.
class TapTable {
 public:
  // Measured with mallinfo2: a tap takes 160 to 170 bytes, the first one of an event port 350, and the first one of a
  // client 440. Not counted: the names and lists of tapped ports, of which there are no more than ports.
  static constexpr std::size_t TapBytes = 184;
  static constexpr std::size_t EventPortBytes = 256;

  // A table that nobody counts.
  TapTable() = default;

  // ledger: must outlive the table. userOf: whose client it is; asked for clients that tap.
  TapTable(MemoryLedger& ledger, std::function<std::uint32_t(ClientId)> userOf)
      : ledger_(&ledger), userOf_(std::move(userOf)) {}

  // Returns false, without a change, if this tap already exists.
  bool add(ClientId client, EventPortId eventPort, device::PortId port, std::uint32_t holderBytes,
           std::string_view name);

  // Returns false if there is no such tap.
  bool remove(ClientId client, EventPortId eventPort, device::PortId port);

  // End all taps of an event port, or of a client.
  void removeAll(ClientId client, EventPortId eventPort);
  void removeClient(ClientId client);

  // Forgets up to `most` taps that removeAll or removeClient ended. Returns the ports that now have no tap, each once.
  std::vector<device::PortId> sweep(std::size_t most);

  // True while sweep has work.
  bool hasEnded() const { return !ended_.empty(); }

  bool contains(ClientId client, EventPortId eventPort, device::PortId port) const;

  // True if the port has taps, also while all of them have ended and sweep has not come to them yet.
  bool isTapped(device::PortId port) const { return ports_.find(port) != nullptr; }

  bool hasTaps(ClientId client, EventPortId eventPort) const { return find(client, eventPort) != nullptr; }

  // Returns the port that this event port tapped under this name, which may have been removed or dropped.
  std::optional<device::PortId> find(ClientId client, EventPortId eventPort, std::string_view name) const;

  // Calls visit(tap, name) for the taps of a port, in the order of tapping. The name is the port's, also after it was
  // removed or dropped. visit must not change the table.
  template <class Visit>
  void forEach(device::PortId port, const Visit& visit) const {
    const TappedPort* tapped = ports_.find(port);
    if (tapped == nullptr) return;
    tapped->taps.forEach([&](const Place& place) {
      if (!place.owner->ended) visit(place.tap(), tapped->name);
    });
  }

  // The same for some of the taps, from number `from` on, as long as `left` lasts. Returns true after the last; else
  // `from` is the number to go on with. Taps may be made and ended in between: those made later have higher numbers.
  template <class Visit>
  bool forSome(device::PortId port, std::uint64_t& from, std::size_t& left, const Visit& visit) const {
    const TappedPort* tapped = ports_.find(port);
    if (tapped == nullptr) return true;
    return tapped->taps.forSome(from, left, [&](const Place& place) {
      if (!place.owner->ended) visit(place.tap(), tapped->name);
    });
  }

  // The taps of a port, in the order of tapping.
  std::vector<Tap> of(device::PortId port) const;

  // The name of a tapped port (see isTapped); else null. Valid until the port's last tap is gone.
  const std::string* name(device::PortId port) const;

  // The other tapped ports that are, or were, called name.
  std::vector<device::PortId> namesakes(device::PortId port, std::string_view name) const;

  // Up to `most` ports that have taps, but no place in the topology any more.
  std::vector<device::PortId> unknown(const device::Topology& topology, std::size_t most) const {
    return ports_.unknown(topology, most);
  }

  // Moves up to `most` taps of one port to another, where they stand in the order of tapping. Returns how many it has
  // looked at; fewer than `most` if none is left.
  std::size_t move(device::PortId from, device::PortId to, std::size_t most);

  // How many taps, and event ports with taps, a client has.
  std::uint32_t count(ClientId client) const;
  std::size_t eventPorts(ClientId client) const;

  // Returns the ports that an event port taps, in the order of tapping.
  std::vector<device::PortId> tappedBy(ClientId client, EventPortId eventPort) const;

 private:
  struct TappedPlace {
    std::uint64_t order = 0;
    device::PortId port;
  };

  // An event port that has taps. After it has ended, the same event port may tap again, as another one.
  struct EventPort {
    ClientId client{};
    EventPortId id{};
    std::uint32_t user = 0;
    bool ended = false;
    std::size_t counted = 0;  // as entered in the ledger
    OrderedList<TappedPlace> places{};
    std::map<device::PortId, std::uint64_t> orders{};  // of its taps; a table of pages would cost too much for few
  };

  // A tap, as its port knows it.
  struct Place {
    std::uint64_t order = 0;
    EventPort* owner = nullptr;
    ClientId client{};  // the owner's; repeated here, because each message needs it
    EventPortId eventPort{};
    std::uint32_t holderBytes = 0;

    Tap tap() const { return {client, eventPort, holderBytes, order}; }
  };

  struct TappedPort {
    std::string name;
    OrderedList<Place> taps;
  };

  struct Client {
    std::uint32_t taps = 0;
    std::map<EventPortId, std::unique_ptr<EventPort>> eventPorts;
  };

  const EventPort* find(ClientId client, EventPortId eventPort) const;
  TappedPort& enter(device::PortId port, std::string_view name);
  void leave(device::PortId port);
  void leaveName(device::PortId port, const TappedPort& tapped);
  void end(std::unique_ptr<EventPort> eventPort);
  void forget(EventPort& owner, std::uint64_t order, device::PortId port);
  bool dropFromPort(device::PortId port, std::uint64_t order);
  // Enters what the event port's taps take now.
  void enterMemory(EventPort& eventPort);

  MemoryLedger* ledger_ = nullptr;
  std::function<std::uint32_t(ClientId)> userOf_;
  PortMap<TappedPort> ports_;
  std::multimap<std::string_view, device::PortId> byName_;  // views of the names in ports_
  std::unordered_map<ClientId, Client> clients_;
  std::deque<std::unique_ptr<EventPort>> ended_;
  std::uint64_t nextOrder_ = 0;
};

}  // namespace service
