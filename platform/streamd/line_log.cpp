#include "platform/streamd/line_log.h"

#include <poll.h>
#include <unistd.h>

#include <string>

#include "platform/system/through_signals.h"

namespace streamd {
namespace {

std::string withPrefix(std::string_view line) { return "streamd: " + std::string(line) + '\n'; }

}  // namespace

void LineLog::write(std::string_view line) {
  pollfd ready{descriptor_, POLLOUT, 0};
  // A pipe or a halted terminal may stay full as long as its reader likes.
  if (sys::throughSignals([&] { return poll(&ready, 1, 0); }) != 1) {
    ++leftOut_;
    return;
  }
  std::string text;
  if (leftOut_ > 0) {
    text =
        withPrefix(std::to_string(leftOut_) + (leftOut_ == 1 ? " line" : " lines") + " dropped: nobody read the log");
  }
  text += withPrefix(line);
  leftOut_ = 0;
  // Lines that cannot be written, for example on a full disk, are lost: the service matters more than its log.
  [[maybe_unused]] const auto written =
      sys::throughSignals([&] { return ::write(descriptor_, text.data(), text.size()); });
}

}  // namespace streamd
