#include "terminal/error_line.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>

namespace flowscope {
namespace {

constexpr int PauseMilliseconds = 1000;

// The stream would lose what a terminal that does not block has no room for.
void writeInFull(std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = write(STDERR_FILENO, text.data(), text.size());
    if (count >= 0) {
      text.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno == EAGAIN) {
      pollfd room{STDERR_FILENO, POLLOUT, 0};
      poll(&room, 1, PauseMilliseconds);
      // There may be room, but too little for the next character.
      poll(nullptr, 0, 1);
    } else if (errno != EINTR) {
      return;
    }
  }
}

}  // namespace

void sayError(std::string_view text) {
  const std::string line = std::string("flowscope: ").append(text).append("\n");
  flockfile(stderr);
  writeInFull(line);
  funlockfile(stderr);
}

}  // namespace flowscope
