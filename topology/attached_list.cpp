#include "topology/attached_list.h"

#include <algorithm>

namespace flowscope {

void AttachedList::add(std::string_view name) {
  if (contains(name)) return;
  const auto place = names_.emplace(names_.end(), name);
  places_.emplace(*place, place);
  ++version_;
}

void AttachedList::remove(std::string_view name) {
  const auto found = places_.find(name);
  if (found == places_.end()) return;
  const auto place = found->second;
  places_.erase(found);
  names_.erase(place);
  ++version_;
}

void AttachedList::clear() {
  if (empty()) return;
  places_.clear();
  names_.clear();
  ++version_;
}

bool operator==(const AttachedList& list, const std::vector<std::string>& names) {
  return std::ranges::equal(list.names_, names);
}

}  // namespace flowscope
