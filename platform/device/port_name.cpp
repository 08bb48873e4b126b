#include "platform/device/port_name.h"

#include <charconv>

#include "platform/device/names.h"

namespace device {

std::string_view sideWord(Side side) { return side == Side::Source ? "Out" : "In"; }

std::optional<std::uint16_t> indexOfNumber(std::string_view digits) {
  if (digits.empty() || digits.front() < '1' || digits.front() > '9') return std::nullopt;
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc{} || end != digits.data() + digits.size() || number > UINT16_MAX + 1U) return std::nullopt;
  return static_cast<std::uint16_t>(number - 1);
}

std::string missingPortName(std::string_view groupName, PortId port,
                            const std::function<bool(const std::string&)>& taken) {
  std::string stem = groupName.empty() ? "Group" + std::to_string(port.group) : std::string(groupName);
  stem += sideWord(port.side);
  const std::string wanted = joinName(stem, std::to_string(port.index + 1));
  std::string name = wanted;
  for (unsigned suffix = 2; taken(name); ++suffix) name = joinName(wanted, "_" + std::to_string(suffix));
  return name;
}

}  // namespace device
