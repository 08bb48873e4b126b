#include "core/command_table.h"

#include <algorithm>

#include "topology/listing.h"
#include "traffic/monitor_attachment.h"

namespace flowscope {

// The table allows every option that ls and cat read.
static_assert(((TreeListing | PagedListing) & ~rowOf(CommandIndex::Ls).allowedOptions) == NoOptions);
static_assert((LabelledOption & ~rowOf(CommandIndex::Cat).allowedOptions) == NoOptions);

std::size_t findCommand(std::string_view word) {
  const auto* const found = std::find_if(CommandTable.begin(), CommandTable.end(), [&](const CommandRow& row) {
    return word.size() == row.name.size() + 1 && word.starts_with(row.name) && word.back() == ' ';
  });
  return static_cast<std::size_t>(found - CommandTable.begin());
}

const CommandRow* commandNamed(std::string_view word) {
  if (word.empty()) return nullptr;
  const auto* const found =
      std::find_if(CommandTable.begin(), CommandTable.end(), [&](const CommandRow& row) { return row.name == word; });
  return found == CommandTable.end() ? nullptr : found;
}

}  // namespace flowscope
