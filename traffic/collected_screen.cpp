#include "traffic/collected_screen.h"

#include <string_view>

#include "terminal/waiting_stream.h"

namespace flowscope {

void CollectedScreen::useStream(std::FILE* stream) {
  stream_ = stream;
  descriptor_ = descriptorOf(stream);
}

bool CollectedScreen::append(const ConsoleOutput& output, const StyledText& item) {
  item_.clear();
  output.appendStyled(item_, item);
  return text_.appendWhole(std::string_view(item_).substr(0, PendingText::Capacity));
}

void CollectedScreen::writeBefore(PendingText::Mark mark) {
  if (!text_.empty()) flowscope::writeThrough(stream_, text_, mark);
}

void CollectedScreen::writeOnSignal(const PartingTime& time) noexcept {
  if (descriptor_ >= 0) text_.writeOnSignal(descriptor_, time, endOnSignal_);
}

}  // namespace flowscope
