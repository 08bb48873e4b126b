#include "terminal/stdin_key_source.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <system_error>

#include "terminal/job_control.h"

namespace flowscope {

StdinKeySource::StdinKeySource(std::FILE* in, std::FILE* out)
    : in_(in), out_(out), wakeDescriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (wakeDescriptor_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
  // A byte that waits in the stream's own buffer would be invisible to poll.
  std::setvbuf(in_, nullptr, _IONBF, 0);
}

StdinKeySource::~StdinKeySource() { close(wakeDescriptor_); }

int StdinKeySource::readByte() {
  for (;;) {
    // Before it waits itself, the C library would do this for a stream that is flushed by lines; here poll waits.
    std::fflush(out_);
    if (!awaitByte()) continue;
    if (stopped_) return EndOfInput;
    if (resumed_.exchange(false)) return InputResumed;
    const Turn turn = askForTurn();
    if (turn == Turn::Never) return EndOfInput;
    if (turn == Turn::Passed) continue;
    errno = 0;
    const int byte = std::getc(in_);
    if (byte != EOF) return byte;
    if (std::ferror(in_) == 0 || (errno != EINTR && errno != EAGAIN)) return EndOfInput;
    std::clearerr(in_);
  }
}

void StdinKeySource::stop() {
  stopped_ = true;
  wake();
}

void StdinKeySource::notifyResumed() noexcept {
  resumed_ = true;
  wake();
}

// Answers whether there is something to answer: a byte, the end, or a reason to wake.
bool StdinKeySource::awaitByte() {
  if (stopped_ || resumed_) return true;
  std::array<pollfd, 2> sources{{{fileno(in_), POLLIN, 0}, {wakeDescriptor_, POLLIN, 0}}};
  if (poll(sources.data(), sources.size(), -1) < 0) return errno != EINTR;
  if (sources[1].revents == 0) return true;
  // Emptied before the flags are looked at: a wake that comes after this is seen by the next poll.
  std::uint64_t count = 0;
  [[maybe_unused]] const ssize_t drained = read(wakeDescriptor_, &count, sizeof count);
  return stopped_ || resumed_;
}

// Reading in the background stops the process. But a read that was stopped so goes on when the process does. In the
// foreground it would wait for a key that nobody has typed yet, while the prompt is due; in the background it would
// stop the process again, although a shell has taken what was typed. So the process is stopped before it reads, and
// then looks again: what poll saw before may be what brought it to the foreground, and be gone.
StdinKeySource::Turn StdinKeySource::askForTurn() {
  const int descriptor = fileno(in_);
  if (!inBackgroundOf(descriptor)) return hasInput() ? Turn::Ours : Turn::Passed;
  stopForInput(descriptor);
  if (!inBackgroundOf(descriptor) || !hasInput()) return Turn::Passed;
  // Nobody has stopped it, or it was sent back to where the input still is. A read of nothing tells, or stops it.
  char nothing = 0;
  if (read(descriptor, &nothing, 0) < 0) return errno == EINTR || errno == EAGAIN ? Turn::Passed : Turn::Never;
  // Where the terminal stops nobody, it lets everybody read.
  return inBackgroundOf(descriptor) ? Turn::Ours : Turn::Passed;
}

// A byte, the end, or an error.
bool StdinKeySource::hasInput() const {
  pollfd input{fileno(in_), POLLIN, 0};
  return poll(&input, 1, 0) > 0;
}

void StdinKeySource::wake() noexcept {
  const int savedErrno = errno;
  const std::uint64_t one = 1;
  // It fails only when the counter is full, and then the reader is awake already.
  [[maybe_unused]] const ssize_t written = write(wakeDescriptor_, &one, sizeof one);
  errno = savedErrno;
}

}  // namespace flowscope
