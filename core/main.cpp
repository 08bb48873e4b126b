#include <fcntl.h>
#include <sys/resource.h>

#include <exception>
#include <span>

#include "core/program.h"
#include "core/shell_io.h"
#include "terminal/error_line.h"
#include "terminal/terminal_mode.h"

namespace {

// If the parent has closed a standard descriptor, the next file opened would get its number, and be read or written as
// the terminal.
void openStandardDescriptors() {
  for (int descriptor = 0; descriptor <= 2; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) < 0) open("/dev/null", O_RDWR);
  }
}

// Each match of "to" keeps a descriptor until the process ends. Child processes inherit the limit.
void raiseDescriptorLimit() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) < 0) return;
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace

int main(int count, char** words) {
  openStandardDescriptors();
  raiseDescriptorLimit();
  try {
    const std::span<const char* const> all(words, static_cast<std::size_t>(count));
    return flowscope::runProgram(all.subspan(all.empty() ? 0 : 1), flowscope::standardIo());
  } catch (const std::exception& error) {
    // A shell that was only partly constructed has not restored the terminal.
    flowscope::setTerminalMode(flowscope::TerminalMode::Saved);
    flowscope::sayError(error.what());
    return 0;
  }
}
