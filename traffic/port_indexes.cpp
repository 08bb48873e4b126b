#include "traffic/port_indexes.h"

#include <utility>

namespace flowscope {

std::optional<std::uint16_t> PortIndexes::find(unsigned streamType, PortSide side, std::uint16_t group,
                                               std::uint16_t count, const std::string& name) {
  Named& named = groups_[{streamType, side, group}];
  if (const auto known = named.indices.find(name); known != named.indices.end()) return known->second;
  while (named.count < count) {
    const std::uint16_t index = named.count++;
    std::string made = portName(patcher_, streamType, group, index, side);
    const bool isIt = made == name;
    named.indices.try_emplace(std::move(made), index);
    if (isIt) return index;
  }
  return std::nullopt;
}

}  // namespace flowscope
