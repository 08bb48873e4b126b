// The lines that were entered, and walking through them.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace flowscope {

// Every line is kept, repeated ones too, as long as the object lives. Walking leaves the entries as they are: a
// recalled line that was edited is kept on the way, in place of the entry it came from, until the next line is
// recorded.
class History {
 public:
  // Appends a line; a walk that was under way is over, and the next one begins at this line.
  void record(std::string line);

  // Oldest first.
  const std::vector<std::string>& entries() const { return entries_; }

  // Walks count lines towards the oldest, or towards the newest, and answers the line found there. current is the
  // line on the screen, which the way back brings up again. At the end of the lines the walk stops; without a step
  // the answer is current.
  std::string back(std::string current, unsigned count);
  std::string forward(std::string current, unsigned count);

 private:
  std::vector<std::string> entries_;
  // What lies behind is two stacks in one: below, the first untouched_ entries; above, the lines of a walk forward.
  std::size_t untouched_ = 0;
  std::vector<std::string> older_;
  std::vector<std::string> newer_;
};

}  // namespace flowscope
