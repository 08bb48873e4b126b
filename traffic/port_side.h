// The sides of a device.
#pragma once

#include <cstdint>
#include <string>

#include "strmsrv.h"

namespace flowscope {

// The numbers are those of Patcher::makeStreamPortName.
enum class PortSide : std::uint8_t { Source = 0, Sink = 1 };

// Returns the name of a port. streamType: an index into StreamTypeNameTable.
inline std::string portName(const StrmSrv::Patcher& patcher, unsigned streamType, std::uint16_t group,
                            std::uint16_t port, PortSide side) {
  return patcher.makeStreamPortName(streamType, group, port, static_cast<int>(side));
}

}  // namespace flowscope
