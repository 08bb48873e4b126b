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
// Values stand in pages of 16, and pages in blocks of 64, which exist while one of their ports has a value: the first
// value far up in a large group takes a kilobyte.
template <class Value>
class PortMap {
 public:
  // Null if the port has no value.
  Value* find(device::PortId port) { return const_cast<Value*>(std::as_const(*this).find(port)); }
  const Value* find(device::PortId port) const {
    const auto group = groups_.find(port.group);
    if (group == groups_.end()) return nullptr;
    const Blocks& blocks = group->second.at(port.side);
    const std::size_t block = port.index / BlockSize;
    if (block >= blocks.size() || !blocks[block]) return nullptr;
    const auto& page = blocks[block]->pages[pageOf(port.index)];
    if (!page) return nullptr;
    const std::optional<Value>& value = page->values[port.index % PageSize];
    return value ? &*value : nullptr;
  }

  // Returns the port's value; makes it first if it has none.
  Value& operator[](device::PortId port) {
    GroupPorts& group = groups_[port.group];
    Blocks& blocks = group.at(port.side);
    const std::size_t at = port.index / BlockSize;
    if (at >= blocks.size()) blocks.resize(at + 1);
    if (!blocks[at]) blocks[at] = std::make_unique<Block>();
    auto& page = blocks[at]->pages[pageOf(port.index)];
    if (!page) {
      page = std::make_unique<Page>();
      ++blocks[at]->used;
    }
    auto& value = page->values[port.index % PageSize];
    if (!value) {
      value.emplace();
      ++page->used;
      ++group.used;
      ++size_;
    }
    return *value;
  }

  // A port without a value is no error.
  void erase(device::PortId port) {
    if (find(port) == nullptr) return;
    const auto group = groups_.find(port.group);
    auto& block = group->second.at(port.side)[port.index / BlockSize];
    auto& page = block->pages[pageOf(port.index)];
    page->values[port.index % PageSize].reset();
    --size_;
    if (--page->used == 0) {
      page.reset();
      if (--block->used == 0) block.reset();
    }
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
  static constexpr std::size_t BlockPages = 64;
  static constexpr std::size_t BlockSize = PageSize * BlockPages;

  struct Page {
    std::array<std::optional<Value>, PageSize> values;
    std::size_t used = 0;
  };

  struct Block {
    std::array<std::unique_ptr<Page>, BlockPages> pages;
    std::size_t used = 0;
  };
  using Blocks = std::vector<std::unique_ptr<Block>>;

  struct GroupPorts {
    std::array<Blocks, 2> sides;
    std::size_t used = 0;

    Blocks& at(device::Side side) { return sides[static_cast<std::size_t>(side)]; }
    const Blocks& at(device::Side side) const { return sides[static_cast<std::size_t>(side)]; }
  };

  // The page within its block.
  static std::size_t pageOf(std::uint16_t index) { return index / PageSize % BlockPages; }

  template <class Absent>
  std::vector<device::PortId> portsThat(const device::Topology& topology, std::size_t most,
                                        const Absent& absent) const {
    std::vector<device::PortId> ports;
    for (const auto& [handle, group] : groups_) {
      const device::Group* known = topology.find(handle);
      for (const device::Side side : {device::Side::Source, device::Side::Sink}) {
        const Blocks& blocks = group.at(side);
        const device::SideOfGroup* existing = known != nullptr && known->side(side) ? &*known->side(side) : nullptr;
        // Ports below the count exist, unless some were removed.
        const std::size_t first = existing != nullptr && existing->gone.empty() ? existing->count : 0;
        for (std::size_t at = first; at < blocks.size() * BlockSize; ++at) {
          const auto& block = blocks[at / BlockSize];
          const auto index = static_cast<std::uint16_t>(at);
          if (!block) {
            at |= BlockSize - 1;
          } else if (const auto& page = block->pages[pageOf(index)]; !page) {
            at |= PageSize - 1;
          } else if (page->values[index % PageSize] && (existing == nullptr || absent(*existing, index))) {
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
