// Expands references to earlier lines.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace flowscope {

// The two results of an entered line: the one to record in the history and the one to execute. They differ if a
// reference matches nothing: the line is recorded without its "!" and executed as typed.
struct ExpandedLine {
  std::string recorded;
  std::string executed;
  friend bool operator==(const ExpandedLine&, const ExpandedLine&) = default;
};

// Expands the references in line, which must not be empty. history is oldest first.
//   !!     the latest entry          !N   entry N, from 0
//   !TEXT  the latest that begins    !-N  the Nth latest
//          with TEXT                 !$   in a line that does not begin with "!": the last word of the latest entry
// The inserted text is not expanded again.
ExpandedLine expandHistory(std::string_view line, std::span<const std::string> history);

}  // namespace flowscope
