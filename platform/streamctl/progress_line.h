// A progress bar on the terminal.
#pragma once

#include <string>

#include "platform/device/port.h"

namespace streamctl {

// One line on standard error that is redrawn in place and removed on destruction. Does nothing if standard error is not
// a terminal, or is one that cannot move its cursor.
class ProgressLine {
 public:
  ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;
  ~ProgressLine();

  // Draws the line (see progress_text.h) if it has changed.
  void show(device::Time position, device::Time length);

 private:
  bool onTerminal_;
  std::string shown_;
};

}  // namespace streamctl
