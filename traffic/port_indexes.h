// The indices of ports by their names.
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

// Looks ports up by their names. Each name is made once at most, and not before it is needed to find another, so an
// object is good for as long as names stay as they are: for one command. Looking all ports of a group up costs as much
// as naming each once.
class PortIndexes {
 public:
  // The patcher must outlive the object.
  explicit PortIndexes(const StrmSrv::Patcher& patcher) : patcher_(patcher) {}

  const StrmSrv::Patcher& patcher() const { return patcher_; }

  // The first of a group's ports 0 to count - 1 with this name, or nothing. The same count each time.
  std::optional<std::uint16_t> find(unsigned streamType, PortSide side, std::uint16_t group, std::uint16_t count,
                                    const std::string& name);

 private:
  struct Named {
    std::uint16_t count = 0;  // the ports below have their names in indices
    std::unordered_map<std::string, std::uint16_t> indices;
  };

  const StrmSrv::Patcher& patcher_;
  std::map<std::tuple<unsigned, PortSide, std::uint16_t>, Named> groups_;
};

}  // namespace flowscope
