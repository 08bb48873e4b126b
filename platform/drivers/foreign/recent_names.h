// Names of clients that disconnected.
#pragma once

#include <algorithm>
#include <cstddef>
#include <deque>
#include <string>

namespace drivers {

// Keeps the last Most names, so clients that connect and disconnect all day take bounded memory.
class RecentNames {
 public:
  static constexpr std::size_t Most = 256;

  // The same name may be added several times.
  void add(const std::string& name) {
    names_.push_back(name);
    if (names_.size() > Most) names_.pop_front();
  }

  // Forgets the name once. Returns false if it is not remembered.
  bool take(const std::string& name) {
    const auto found = std::ranges::find(names_, name);
    if (found == names_.end()) return false;
    names_.erase(found);
    return true;
  }

  void clear() { names_.clear(); }

 private:
  std::deque<std::string> names_;  // oldest first
};

}  // namespace drivers
