// Names of numbered ports, and of ports that do not exist.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace device {

// Returns the index for a port number: "1" gives 0. nullopt unless digits is a number from 1 to 65536 without leading
// zeros.
std::optional<std::uint16_t> indexOfNumber(std::string_view digits);

// Returns a name in the usual style for a port that does not exist: the group's name, "Out" (sources) or "In" (sinks),
// and a number from 1 on. If a port has that name, appends "_2", "_3", ... At most MaxNameBytes. groupName: empty if
// the group does not exist. taken: returns whether a port has this name.
std::string missingPortName(std::string_view groupName, std::uint64_t groupNumber, bool sink, std::uint16_t index,
                            const std::function<bool(const std::string&)>& taken);

}  // namespace device
