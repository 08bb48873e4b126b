#include "platform/service/tap_table.h"

#include <utility>

namespace service {

bool TapTable::add(ClientId client, EventPortId eventPort, device::PortId port, std::uint32_t holderBytes,
                   std::string_view name) {
  Client& known = clients_[client];
  std::unique_ptr<EventPort>& owner = known.eventPorts[eventPort];
  if (!owner) {
    owner = std::make_unique<EventPort>(EventPort{.client = client, .id = eventPort});
    if (userOf_) owner->user = userOf_(client);
  }
  if (owner->orders.contains(port)) return false;
  TappedPort& tapped = enter(port, name);
  tapped.taps.append({nextOrder_, owner.get(), client, eventPort, holderBytes});
  owner->places.append({nextOrder_, port});
  owner->orders.emplace(port, nextOrder_);
  enterMemory(*owner);
  ++known.taps;
  ++nextOrder_;
  return true;
}

bool TapTable::remove(ClientId client, EventPortId eventPort, device::PortId port) {
  const EventPort* const owner = find(client, eventPort);
  if (owner == nullptr) return false;
  const auto found = owner->orders.find(port);
  if (found == owner->orders.end()) return false;
  const std::uint64_t order = found->second;
  Client& known = clients_.at(client);
  dropFromPort(port, order);
  forget(*known.eventPorts.at(eventPort), order, port);
  return true;
}

void TapTable::removeAll(ClientId client, EventPortId eventPort) {
  const auto known = clients_.find(client);
  if (known == clients_.end()) return;
  const auto found = known->second.eventPorts.find(eventPort);
  if (found == known->second.eventPorts.end()) return;
  known->second.taps -= static_cast<std::uint32_t>(found->second->places.size());
  end(std::move(found->second));
  known->second.eventPorts.erase(found);
  if (known->second.eventPorts.empty()) clients_.erase(known);
}

void TapTable::removeClient(ClientId client) {
  const auto known = clients_.find(client);
  if (known == clients_.end()) return;
  for (auto& [id, eventPort] : known->second.eventPorts) end(std::move(eventPort));
  clients_.erase(known);
}

void TapTable::end(std::unique_ptr<EventPort> eventPort) {
  eventPort->ended = true;
  ended_.push_back(std::move(eventPort));
}

std::vector<device::PortId> TapTable::sweep(std::size_t most) {
  std::vector<device::PortId> freed;
  while (!ended_.empty()) {
    EventPort& owner = *ended_.front();
    for (; most > 0 && !owner.places.empty(); --most) {
      const TappedPlace last = owner.places.back();
      if (dropFromPort(last.port, last.order)) freed.push_back(last.port);
      owner.places.remove(last.order);
      owner.orders.erase(last.port);
    }
    enterMemory(owner);
    if (!owner.places.empty()) break;
    ended_.pop_front();
  }
  return freed;
}

bool TapTable::contains(ClientId client, EventPortId eventPort, device::PortId port) const {
  const EventPort* owner = find(client, eventPort);
  return owner != nullptr && owner->orders.contains(port);
}

std::optional<device::PortId> TapTable::find(ClientId client, EventPortId eventPort, std::string_view name) const {
  const auto [first, last] = byName_.equal_range(name);
  for (auto at = first; at != last; ++at) {
    if (contains(client, eventPort, at->second)) return at->second;
  }
  return std::nullopt;
}

std::vector<Tap> TapTable::of(device::PortId port) const {
  std::vector<Tap> taps;
  forEach(port, [&](const Tap& tap, const std::string& /*name*/) { taps.push_back(tap); });
  return taps;
}

const std::string* TapTable::name(device::PortId port) const {
  const TappedPort* tapped = ports_.find(port);
  return tapped == nullptr ? nullptr : &tapped->name;
}

std::vector<device::PortId> TapTable::namesakes(device::PortId port, std::string_view name) const {
  std::vector<device::PortId> others;
  const auto [first, last] = byName_.equal_range(name);
  for (auto at = first; at != last; ++at) {
    if (at->second != port) others.push_back(at->second);
  }
  return others;
}

std::size_t TapTable::move(device::PortId from, device::PortId to, std::size_t most) {
  TappedPort* const source = ports_.find(from);
  if (source == nullptr || from == to) return 0;
  std::vector<Place> moved;
  while (moved.size() < most && !source->taps.empty()) {
    moved.push_back(source->taps.back());
    source->taps.remove(moved.back().order);
  }
  const std::size_t count = moved.size();
  std::vector<Place> entered;
  TappedPort& into = enter(to, source->name);
  for (auto place = moved.rbegin(); place != moved.rend(); ++place) {
    EventPort& owner = *place->owner;
    if (owner.orders.contains(to)) {
      // This event port taps both: one tap remains.
      if (!owner.ended) --clients_.at(owner.client).taps;
      owner.places.remove(place->order);
      owner.orders.erase(from);
      enterMemory(owner);
      continue;
    }
    owner.places.find(place->order)->port = to;
    owner.orders.erase(from);
    owner.orders[to] = place->order;
    entered.push_back(*place);
  }
  into.taps.merge(entered);
  if (source->taps.empty()) leave(from);
  return count;
}

std::uint32_t TapTable::count(ClientId client) const {
  const auto known = clients_.find(client);
  return known == clients_.end() ? 0 : known->second.taps;
}

std::size_t TapTable::eventPorts(ClientId client) const {
  const auto known = clients_.find(client);
  return known == clients_.end() ? 0 : known->second.eventPorts.size();
}

std::vector<device::PortId> TapTable::tappedBy(ClientId client, EventPortId eventPort) const {
  std::vector<device::PortId> ports;
  const EventPort* owner = find(client, eventPort);
  if (owner == nullptr) return ports;
  ports.reserve(owner->places.size());
  owner->places.forEach([&](const TappedPlace& place) { ports.push_back(place.port); });
  return ports;
}

const TapTable::EventPort* TapTable::find(ClientId client, EventPortId eventPort) const {
  const auto known = clients_.find(client);
  if (known == clients_.end()) return nullptr;
  const auto found = known->second.eventPorts.find(eventPort);
  return found == known->second.eventPorts.end() ? nullptr : found->second.get();
}

// A tap of an event port that has not ended is gone from its port.
void TapTable::forget(EventPort& owner, std::uint64_t order, device::PortId port) {
  owner.places.remove(order);
  owner.orders.erase(port);
  enterMemory(owner);
  Client& known = clients_.at(owner.client);
  --known.taps;
  if (!owner.places.empty()) return;
  const ClientId client = owner.client;
  known.eventPorts.erase(owner.id);
  if (known.eventPorts.empty()) clients_.erase(client);
}

void TapTable::enterMemory(EventPort& eventPort) {
  if (ledger_ == nullptr) return;
  const std::size_t taps = eventPort.places.size();
  const std::size_t bytes = taps == 0 ? 0 : EventPortBytes + taps * TapBytes;
  ledger_->change(eventPort.user, std::exchange(eventPort.counted, bytes), bytes);
}

// Returns true if this was the port's last tap.
bool TapTable::dropFromPort(device::PortId port, std::uint64_t order) {
  TappedPort* tapped = ports_.find(port);
  tapped->taps.remove(order);
  if (!tapped->taps.empty()) return false;
  leave(port);
  return true;
}

TapTable::TappedPort& TapTable::enter(device::PortId port, std::string_view name) {
  if (TappedPort* known = ports_.find(port); known != nullptr) {
    if (known->name == name) return *known;
    leaveName(port, *known);
  }
  TappedPort& tapped = ports_[port];
  tapped.name = name;
  byName_.emplace(tapped.name, port);
  return tapped;
}

void TapTable::leave(device::PortId port) {
  leaveName(port, *ports_.find(port));
  ports_.erase(port);
}

void TapTable::leaveName(device::PortId port, const TappedPort& tapped) {
  auto [at, end] = byName_.equal_range(tapped.name);
  while (at != end && at->second != port) ++at;
  if (at != end) byName_.erase(at);
}

}  // namespace service
