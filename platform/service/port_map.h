// A map from ports to values.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/device/port.h"
#include "platform/device/topology.h"

namespace service {

// Values by port. Finds, makes and erases in constant time, without ever moving all entries at once: only the list of
// groups is hashed, and within a group, a port is found by its index. A value stays where it is until it is erased.
// Values stand in pages of 16, which exist while one of their ports has a value.
template <class Value>
class PortMap {
 public:
  // Null if the port has no value.
  Value* find(device::PortId port) { return const_cast<Value*>(std::as_const(*this).find(port)); }
  const Value* find(device::PortId port) const {
    const auto group = groups_.find(port.group);
    if (group == groups_.end()) return nullptr;
    const Pages& pages = group->second.at(port.side);
    const std::size_t page = port.index / PageSize;
    if (page >= pages.size() || !pages[page]) return nullptr;
    const std::optional<Value>& value = pages[page]->values[port.index % PageSize];
    return value ? &*value : nullptr;
  }

  // Returns the port's value; makes it first if it has none.
  Value& operator[](device::PortId port) {
    GroupPorts& group = groups_[port.group];
    Pages& pages = group.at(port.side);
    const std::size_t at = port.index / PageSize;
    if (at >= pages.size()) pages.resize(at + 1);
    if (!pages[at]) pages[at] = std::make_unique<Page>();
    auto& value = pages[at]->values[port.index % PageSize];
    if (!value) {
      value.emplace();
      ++pages[at]->used;
      ++group.used;
      ++size_;
    }
    return *value;
  }

  // A port without a value is no error.
  void erase(device::PortId port) {
    if (find(port) == nullptr) return;
    const auto group = groups_.find(port.group);
    auto& page = group->second.at(port.side)[port.index / PageSize];
    page->values[port.index % PageSize].reset();
    --size_;
    if (--page->used == 0) page.reset();
    if (--group->second.used == 0) groups_.erase(group);
  }

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }

  // Up to `most` ports that have a value and do not exist in the topology (missing), or whose places are not even kept
  // there (unknown). A group whose side keeps no list of removed ports costs no more than
  // looking it up.
  std::vector<device::PortId> missing(const device::Topology& topology, std::size_t most) const {
    return portsThat(topology, most,
                     [](const device::SideOfGroup& side, std::uint16_t index) { return !side.exists(index); });
  }
  std::vector<device::PortId> unknown(const device::Topology& topology, std::size_t most) const {
    return portsThat(topology, most,
                     [](const device::SideOfGroup& side, std::uint16_t index) { return index >= side.count; });
  }

 private:
  static constexpr std::size_t PageSize = 16;

  struct Page {
    std::array<std::optional<Value>, PageSize> values;
    std::size_t used = 0;
  };
  using Pages = std::vector<std::unique_ptr<Page>>;

  struct GroupPorts {
    std::array<Pages, 2> sides;
    std::size_t used = 0;

    Pages& at(device::Side side) { return sides[static_cast<std::size_t>(side)]; }
    const Pages& at(device::Side side) const { return sides[static_cast<std::size_t>(side)]; }
  };

  template <class Absent>
  std::vector<device::PortId> portsThat(const device::Topology& topology, std::size_t most,
                                        const Absent& absent) const {
    std::vector<device::PortId> ports;
    for (const auto& [handle, group] : groups_) {
      const device::Group* known = topology.find(handle);
      for (const device::Side side : {device::Side::Source, device::Side::Sink}) {
        const Pages& pages = group.at(side);
        const device::SideOfGroup* existing = known != nullptr && known->side(side) ? &*known->side(side) : nullptr;
        const bool allThere =
            existing != nullptr && existing->gone.empty() && pages.size() * PageSize <= existing->count;
        for (std::size_t page = 0; page < pages.size() && !allThere; ++page) {
          if (!pages[page]) continue;
          for (std::size_t slot = 0; slot < PageSize; ++slot) {
            const auto index = static_cast<std::uint16_t>(page * PageSize + slot);
            if (!pages[page]->values[slot] || (existing != nullptr && !absent(*existing, index))) continue;
            if (ports.size() == most) return ports;
            ports.push_back({handle, index, side});
          }
        }
      }
    }
    return ports;
  }

  std::unordered_map<std::uint64_t, GroupPorts> groups_;
  std::size_t size_ = 0;
};

}  // namespace service
