#include "terminal/job_control.h"

#include <unistd.h>

namespace flowscope {

bool inBackgroundOf(int terminal) noexcept {
  const pid_t foreground = tcgetpgrp(terminal);
  return foreground >= 0 && foreground != getpgrp();
}

}  // namespace flowscope
