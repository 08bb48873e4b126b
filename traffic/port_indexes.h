// Port indices by name.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <unordered_map>

#include "strmsrv.h"
#include "traffic/port_side.h"

namespace flowscope {

// Looks up ports by name. Makes each name once at most, and only when a search needs it, so an object is valid as long
// as names do not change: for one command. Looking up all ports of a group costs as much as naming each once.
class PortIndexes {
 public:
  // The patcher must outlive the object.
  explicit PortIndexes(const StrmSrv::Patcher& patcher) : patcher_(patcher) {}

  const StrmSrv::Patcher& patcher() const { return patcher_; }

  // Returns the first of a group's ports 0 to count - 1 with this name; nullopt if there is none. Pass the same count
  // each time.
  std::optional<std::uint16_t> find(unsigned streamType, PortSide side, std::uint16_t group, std::uint16_t count,
                                    const std::string& name);

 private:
  struct Named {
    std::uint16_t count = 0;  // indices holds the names of the ports below this one
    std::unordered_map<std::string, std::uint16_t> indices;
  };

  const StrmSrv::Patcher& patcher_;
  std::map<std::tuple<unsigned, PortSide, std::uint16_t>, Named> groups_;
};

}  // namespace flowscope
