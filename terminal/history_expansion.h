// Lines that refer to earlier ones.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace flowscope {

// What becomes of an entered line: the one that goes into the history, and the one that is executed. They differ
// where a reference found nothing: it is recorded without its "!", and executed as it was typed.
struct ExpandedLine {
  std::string recorded;
  std::string executed;
  friend bool operator==(const ExpandedLine&, const ExpandedLine&) = default;
};

// Replaces the references of a line, which is not empty. history is oldest first.
//   !!     the latest entry          !N   entry N, from 0
//   !TEXT  the latest that begins    !-N  the Nth latest
//          with TEXT                 !$   in a line that does not begin with "!": the last word of the latest entry
// What an expansion brings in is not expanded again.
ExpandedLine expandHistory(std::string_view line, std::span<const std::string> history);

}  // namespace flowscope
