#include "terminal/error_line.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "terminal/awaited_room.h"
#include "terminal/waiting_stream.h"

namespace flowscope {
namespace {

constexpr int NoLimit = -1;

// The stream would lose what a terminal that does not block has no room for.
void writeInFull(std::string_view text) {
  AwaitedRoom room;
  while (!text.empty()) {
    const ssize_t count = write(STDERR_FILENO, text.data(), text.size());
    if (count >= 0) {
      room.found();
      text.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno == EAGAIN) {
      room.await(STDERR_FILENO, NoLimit);
    } else if (errno != EINTR) {
      return;
    }
  }
}

}  // namespace

void sayError(std::string_view text) {
  const std::string line = std::string("flowscope: ").append(text).append("\n");
  flushWaitingStreams();
  flockfile(stderr);
  writeInFull(line);
  funlockfile(stderr);
}

}  // namespace flowscope
