// A progress bar on the terminal.
#pragma once

#include <string>

#include "platform/device/port.h"

namespace streamctl {

// One line of standard error that is drawn over and over, and gone when this object is. Nothing at all when standard
// error is no terminal, or one that cannot move its cursor.
class ProgressLine {
 public:
  ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;
  ~ProgressLine();

  // Draws it (see progress_text.h), unless it looks so already.
  void show(device::Time position, device::Time length);

 private:
  bool onTerminal_;
  std::string shown_;
};

}  // namespace streamctl
