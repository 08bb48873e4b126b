#include "platform/system/program_line.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "platform/system/printable.h"

namespace sys {
namespace {

constexpr int PauseMilliseconds = 1000;

// A parent process may start a program without a name.
std::string nameAtStart() {
  const char* name = program_invocation_short_name;
  return name == nullptr || *name == '\0' ? "evtsrv" : printable(name);
}

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

const std::string& programName() {
  // Copied once, because a program may overwrite its arguments later. Never destroyed, because services may still write
  // lines while the process ends.
  static const auto* const name = new std::string(nameAtStart());
  return *name;
}

std::string programLine(std::string_view text) { return std::string(programName()).append(": ").append(text); }

void sayLine(std::string_view line) {
  const std::string text = programLine(line) + '\n';
  flockfile(stderr);
  writeInFull(text);
  funlockfile(stderr);
}

}  // namespace sys
