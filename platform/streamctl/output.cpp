#include "platform/streamctl/output.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace streamctl {

int writeOutput(std::string_view text, const std::function<bool()>& goOn) {
  // An empty text is not written: a full device would refuse it, too.
  while (!text.empty()) {
    const ssize_t written = write(STDOUT_FILENO, text.data(), text.size());
    const int error = written < 0 ? errno : 0;
    if (error == EAGAIN) {
      // Another process that shares the pipe has made it non-blocking.
      pollfd ready{STDOUT_FILENO, POLLOUT, 0};
      poll(&ready, 1, -1);
    } else if (error != 0 && error != EINTR) {
      return error;
    }
    if (written > 0) text.remove_prefix(static_cast<std::size_t>(written));
    // A signal can also cause a partial write.
    if (!text.empty() && goOn && !goOn()) return EINTR;
  }
  return 0;
}

bool outputHasReader() {
  pollfd state{STDOUT_FILENO, 0, 0};
  return poll(&state, 1, 0) <= 0 || (state.revents & (POLLERR | POLLHUP)) == 0;
}

std::string outputProblem(int error) { return std::string("standard output: ") + std::strerror(error); }

}  // namespace streamctl
