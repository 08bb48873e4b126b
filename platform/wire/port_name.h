// What both sides call a port that does not exist.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace wire {

// A name in the style of the others: the group's name, "Out" (sources) or "In" (sinks), and a number from 1 on; with
// "_2", "_3", ... at its end when a port has that name. At most MaxNameBytes. groupName: empty for a group that does
// not exist. taken: whether a port has a name.
std::string missingPortName(std::string_view groupName, std::uint16_t groupId, bool sink, std::uint16_t index,
                            const std::function<bool(const std::string&)>& taken);

}  // namespace wire
