#include "platform/device/port_name.h"

#include <charconv>

#include "platform/device/limits.h"

namespace device {
namespace {

std::string joined(std::string_view stem, const std::string& tail) {
  return std::string(stem.substr(0, MaxNameBytes - tail.size())) + tail;
}

}  // namespace

std::optional<std::uint16_t> indexOfNumber(std::string_view digits) {
  if (digits.empty() || digits.front() < '1' || digits.front() > '9') return std::nullopt;
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc{} || end != digits.data() + digits.size() || number > UINT16_MAX + 1U) return std::nullopt;
  return static_cast<std::uint16_t>(number - 1);
}

std::string missingPortName(std::string_view groupName, std::uint64_t groupNumber, bool sink, std::uint16_t index,
                            const std::function<bool(const std::string&)>& taken) {
  const std::string stem = groupName.empty() ? "Group" + std::to_string(groupNumber) : std::string(groupName);
  const std::string wanted = joined(stem + (sink ? "In" : "Out"), std::to_string(index + 1));
  std::string name = wanted;
  for (unsigned suffix = 2; taken(name); ++suffix) name = joined(wanted, "_" + std::to_string(suffix));
  return name;
}

}  // namespace device
