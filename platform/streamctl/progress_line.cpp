#include "platform/streamctl/progress_line.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "platform/streamctl/progress_text.h"

namespace streamctl {
namespace {

bool movesItsCursor() {
  const char* kind = std::getenv("TERM");
  return kind != nullptr && *kind != '\0' && std::string_view(kind) != "dumb";
}

// One less than the terminal has: a character in the last column would move the cursor to the next line.
std::size_t columnsToUse() {
  winsize size{};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 79;
  return size.ws_col - std::size_t{1};
}

}  // namespace

ProgressLine::ProgressLine() : onTerminal_(isatty(STDERR_FILENO) == 1 && movesItsCursor()) {}

ProgressLine::~ProgressLine() {
  if (!shown_.empty()) std::fputs("\r\x1b[K", stderr);
}

void ProgressLine::show(device::Time position, device::Time length) {
  if (!onTerminal_) return;
  std::string text = progressText(position, length, columnsToUse());
  if (text == shown_) return;
  std::fprintf(stderr, "\r%s\x1b[K", text.c_str());
  shown_ = std::move(text);
}

}  // namespace streamctl
