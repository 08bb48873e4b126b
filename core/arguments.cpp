#include "core/arguments.h"

#include <algorithm>
#include <utility>

#include "core/command_options.h"

namespace flowscope {

ResultCode checkArguments(ArgumentWords& words, Options& options, std::uint32_t maximum, Options allowed) {
  options = NoOptions;
  for (const auto& word : words) {
    if (isOptionWord(word)) options |= optionsOf(word);
  }
  std::erase_if(words, [](const std::string& word) { return isOptionWord(word); });
  if (words.size() > maximum || (options & ~allowed) != 0) return ResultOptionError;
  return ResultOk;
}

bool nextArgument(ArgumentWords& words, std::string& text) {
  if (words.empty()) return false;
  text = std::move(words.front());
  words.pop_front();
  return true;
}

}  // namespace flowscope
