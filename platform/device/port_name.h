// Names of numbered ports, and of ports that do not exist.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/device/port.h"

namespace device {

// Follows the group's name in the names of numbered ports: "Out" or "In".
std::string_view sideWord(Side side);

// Returns the index for a port number: "1" gives 0. nullopt unless digits is a number from 1 to 65536 without leading
// zeros.
std::optional<std::uint16_t> indexOfNumber(std::string_view digits);

// Splits a name into a prefix and a port number in each possible way, the shortest number first, until
// fits(prefix, index) returns true. Returns whether it did.
template <class Fits>
bool anyNumbering(std::string_view name, const Fits& fits) {
  constexpr std::size_t MaxDigits = 5;
  for (std::size_t digits = 1; digits <= MaxDigits && digits <= name.size(); ++digits) {
    const std::string_view prefix = name.substr(0, name.size() - digits);
    const auto index = indexOfNumber(name.substr(prefix.size()));
    if (index && fits(prefix, *index)) return true;
  }
  return false;
}

// Returns a name in the usual style for a port that does not exist: the group's name, "Out" (sources) or "In" (sinks),
// and a number from 1 on. If a port has that name, appends "_2", "_3", ... At most MaxNameBytes. groupName: empty if
// the group does not exist. taken: returns whether a port has this name.
std::string missingPortName(std::string_view groupName, PortId port,
                            const std::function<bool(const std::string&)>& taken);

}  // namespace device
