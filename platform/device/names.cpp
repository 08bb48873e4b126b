#include "platform/device/names.h"

#include <algorithm>

namespace device {
namespace {

bool isForbidden(char byte) {
  constexpr std::string_view Special = "/;\"'*[]\\^$";
  return byte <= ' ' || byte > '~' || Special.find(byte) != std::string_view::npos;
}

}  // namespace

std::string cleanName(std::string_view raw, std::size_t most) {
  if (raw.empty() || raw == "..") return "_";
  std::string name(raw.substr(0, most));
  std::replace_if(name.begin(), name.end(), isForbidden, '_');
  if (name.front() == '-' || name.front() == '~') name.front() = '_';
  // Cutting a longer name can leave "..".
  return name == ".." ? "_" : name;
}

bool isCleanName(std::string_view name) {
  return !name.empty() && name != ".." && name.front() != '-' && name.front() != '~' &&
         std::ranges::none_of(name, isForbidden);
}

std::string joinName(std::string_view stem, std::string_view tail, std::size_t most) {
  std::string name(stem.substr(0, most - std::min(most, tail.size())));
  return name.append(tail);
}

std::string UniqueNames::add(std::string_view raw) {
  std::string wanted = cleanName(raw, most_);
  if (taken_.try_emplace(wanted).second) return wanted;
  // Continues from the last suffix, so that thousands of equal names are not all tried again.
  Suffixes& suffixes = suffixes_[wanted];
  ++suffixes.inUse;
  for (;;) {
    const auto [name, isNew] =
        taken_.try_emplace(joinName(wanted, "_" + std::to_string(++suffixes.last), most_), wanted);
    if (isNew) return name->first;
  }
}

void UniqueNames::remove(const std::string& name) {
  const auto taken = taken_.find(name);
  if (taken == taken_.end()) return;
  const auto suffixes = suffixes_.find(taken->second);
  if (suffixes != suffixes_.end() && --suffixes->second.inUse == 0) suffixes_.erase(suffixes);
  taken_.erase(taken);
}

}  // namespace device
