// How ports are called that have numbers, and what both sides call one that does not exist.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace device {

// The index of the port whose number these digits are: "1" is 0. Nothing for what is not a number from 1 to 65536
// written the shortest way.
std::optional<std::uint16_t> indexOfNumber(std::string_view digits);

// A name in the style of the others: the group's name, "Out" (sources) or "In" (sinks), and a number from 1 on; with
// "_2", "_3", ... at its end when a port has that name. At most MaxNameBytes. groupName: empty for a group that does
// not exist. taken: whether a port has a name.
std::string missingPortName(std::string_view groupName, std::uint64_t groupNumber, bool sink, std::uint16_t index,
                            const std::function<bool(const std::string&)>& taken);

}  // namespace device
