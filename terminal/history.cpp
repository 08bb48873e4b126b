#include "terminal/history.h"

#include <utility>

namespace flowscope {

void History::record(std::string line) {
  entries_.push_back(std::move(line));
  untouched_ = entries_.size();
  older_.clear();
  newer_.clear();
}

std::string History::back(std::string current, unsigned count) {
  for (; count > 0 && (!older_.empty() || untouched_ > 0); --count) {
    newer_.push_back(std::move(current));
    if (older_.empty()) {
      current = entries_[--untouched_];
    } else {
      current = std::move(older_.back());
      older_.pop_back();
    }
  }
  return current;
}

std::string History::forward(std::string current, unsigned count) {
  for (; count > 0 && !newer_.empty(); --count) {
    older_.push_back(std::move(current));
    current = std::move(newer_.back());
    newer_.pop_back();
  }
  return current;
}

}  // namespace flowscope
