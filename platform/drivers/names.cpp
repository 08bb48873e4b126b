#include "platform/drivers/names.h"

#include <algorithm>

namespace service {
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
  // Cutting can leave what was longer as "..".
  return name == ".." ? "_" : name;
}

std::string joinName(std::string_view stem, std::string_view tail, std::size_t most) {
  std::string name(stem.substr(0, most - std::min(most, tail.size())));
  return name.append(tail);
}

std::string UniqueNames::add(std::string_view raw) {
  std::string wanted = cleanName(raw, most_);
  if (taken_.insert(wanted).second) return wanted;
  // Counting on from the last suffix keeps thousands of equal names from being tried again and again.
  unsigned& suffix = lastSuffix_.try_emplace(wanted, 1U).first->second;
  for (;;) {
    const auto [name, isNew] = taken_.insert(joinName(wanted, "_" + std::to_string(++suffix), most_));
    if (isNew) return *name;
  }
}

}  // namespace service
