#include "platform/service/tap_table.h"

#include <algorithm>

namespace service {

bool TapTable::add(ClientId client, EventPortId eventPort, device::PortId port, std::uint32_t holderBytes,
                   std::string_view name) {
  auto& [portName, taps] = taps_[port];
  const auto same = [&](const Tap& tap) { return tap.client == client && tap.eventPort == eventPort; };
  if (std::ranges::any_of(taps, same)) return false;
  portName = name;
  taps.push_back({client, eventPort, holderBytes, nextOrder_});
  tapped_[{client, eventPort}].emplace(nextOrder_, port);
  ++nextOrder_;
  return true;
}

bool TapTable::remove(ClientId client, EventPortId eventPort, device::PortId port) {
  const auto taps = of(port);
  const auto same = [&](const Tap& tap) { return tap.client == client && tap.eventPort == eventPort; };
  const auto found = std::ranges::find_if(taps, same);
  if (found == taps.end()) return false;
  const std::uint64_t order = found->order;
  dropFromPort(port, order, nullptr);
  const auto ports = tapped_.find({client, eventPort});
  ports->second.erase(order);
  if (ports->second.empty()) tapped_.erase(ports);
  return true;
}

std::vector<device::PortId> TapTable::removeAll(ClientId client, EventPortId eventPort) {
  std::vector<device::PortId> ended;
  const auto ports = tapped_.find({client, eventPort});
  if (ports == tapped_.end()) return ended;
  for (const auto& [order, port] : ports->second) dropFromPort(port, order, &ended);
  tapped_.erase(ports);
  return ended;
}

std::vector<device::PortId> TapTable::removeClient(ClientId client) {
  std::vector<device::PortId> ended;
  auto ports = tapped_.lower_bound({client, EventPortId{0}});
  while (ports != tapped_.end() && ports->first.first == client) {
    for (const auto& [order, port] : ports->second) dropFromPort(port, order, &ended);
    ports = tapped_.erase(ports);
  }
  return ended;
}

std::span<const Tap> TapTable::of(device::PortId port) const {
  const auto found = taps_.find(port);
  if (found == taps_.end()) return {};
  return found->second.taps;
}

const TapTable::TappedPort* TapTable::find(device::PortId port) const {
  const auto found = taps_.find(port);
  return found == taps_.end() ? nullptr : &found->second;
}

std::vector<device::PortId> TapTable::ports() const {
  std::vector<device::PortId> all;
  all.reserve(taps_.size());
  for (const auto& [port, tapped] : taps_) all.push_back(port);
  return all;
}

void TapTable::move(device::PortId from, device::PortId to) {
  const auto found = taps_.find(from);
  if (found == taps_.end() || from == to) return;
  const TappedPort moved = std::move(found->second);
  taps_.erase(found);
  TappedPort& into = taps_[to];
  into.name = moved.name;
  for (const Tap& tap : moved.taps) {
    TappedPorts& ports = tapped_.at({tap.client, tap.eventPort});
    const auto same = [&](const Tap& one) { return one.client == tap.client && one.eventPort == tap.eventPort; };
    if (std::ranges::any_of(into.taps, same)) {
      ports.erase(tap.order);
      continue;
    }
    into.taps.push_back(tap);
    ports.at(tap.order) = to;
  }
  std::ranges::sort(into.taps, {}, &Tap::order);
}

std::uint32_t TapTable::count(ClientId client) const {
  std::uint32_t count = 0;
  for (auto ports = tapped_.lower_bound({client, EventPortId{0}});
       ports != tapped_.end() && ports->first.first == client; ++ports) {
    count += static_cast<std::uint32_t>(ports->second.size());
  }
  return count;
}

std::vector<device::PortId> TapTable::tappedBy(ClientId client, EventPortId eventPort) const {
  std::vector<device::PortId> ports;
  const auto found = tapped_.find({client, eventPort});
  if (found == tapped_.end()) return ports;
  ports.reserve(found->second.size());
  for (const auto& [order, port] : found->second) ports.push_back(port);
  return ports;
}

// Appends the port to ended (if not null) if this was its last tap.
void TapTable::dropFromPort(device::PortId port, std::uint64_t order, std::vector<device::PortId>* ended) {
  const auto found = taps_.find(port);
  std::erase_if(found->second.taps, [&](const Tap& tap) { return tap.order == order; });
  if (!found->second.taps.empty()) return;
  taps_.erase(found);
  if (ended != nullptr) ended->push_back(port);
}

}  // namespace service
