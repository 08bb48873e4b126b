// The history of entered lines and the walk through it.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace flowscope {

// Keeps every line, also repeated ones, as long as the object lives. A walk does not change the entries: an edited
// recalled line replaces its entry on the walk only, until the next line is recorded.
class History {
 public:
  // Appends a line and ends the current walk; the next walk begins at this line.
  void record(std::string line);

  // Oldest first.
  const std::vector<std::string>& entries() const { return entries_; }

  // Walk count lines towards the oldest or the newest line, and return the line found there. current is the line on the
  // screen; a walk in the other direction returns it again. The walk stops at the oldest or newest line; if it cannot
  // take a step, it returns current.
  std::string back(std::string current, unsigned count);
  std::string forward(std::string current, unsigned count);

 private:
  std::vector<std::string> entries_;
  // The older lines are two stacks in one: below, the first untouched_ entries; above, in older_, the lines passed on a
  // walk forward.
  std::size_t untouched_ = 0;
  std::vector<std::string> older_;
  std::vector<std::string> newer_;
};

}  // namespace flowscope
