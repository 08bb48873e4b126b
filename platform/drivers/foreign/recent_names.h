// Names of those who have gone.
#pragma once

#include <algorithm>
#include <cstddef>
#include <deque>
#include <string>

namespace drivers {

// The last of them, up to Most: what is remembered of clients that come and go all day is bounded.
class RecentNames {
 public:
  static constexpr std::size_t Most = 256;

  // The same name may be added several times.
  void add(const std::string& name) {
    names_.push_back(name);
    if (names_.size() > Most) names_.pop_front();
  }

  // Forgets the name, once. False when it is not remembered.
  bool take(const std::string& name) {
    const auto found = std::ranges::find(names_, name);
    if (found == names_.end()) return false;
    names_.erase(found);
    return true;
  }

  void clear() { names_.clear(); }

 private:
  std::deque<std::string> names_;  // the longest gone first
};

}  // namespace drivers
