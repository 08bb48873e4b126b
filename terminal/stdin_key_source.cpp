#include "terminal/stdin_key_source.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <system_error>

#include "terminal/job_control.h"
#include "terminal/waiting_stream.h"

namespace flowscope {

StdinKeySource::StdinKeySource(std::FILE* in, std::FILE* out)
    : in_(in), out_(out), wakeDescriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (wakeDescriptor_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
  // poll does not see a byte that waits in the stream's own buffer.
  std::setvbuf(in_, nullptr, _IONBF, 0);
}

StdinKeySource::~StdinKeySource() { close(wakeDescriptor_); }

int StdinKeySource::readByte() {
  for (;;) {
    flushStream(out_);
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

// Returns whether readByte has something to return: a byte, the end, or a stop or resume notice.
bool StdinKeySource::awaitByte() {
  if (stopped_ || resumed_) return true;
  std::array<pollfd, 2> sources{{{fileno(in_), POLLIN, 0}, {wakeDescriptor_, POLLIN, 0}}};
  if (poll(sources.data(), sources.size(), -1) < 0) return errno != EINTR;
  if (sources[1].revents == 0) return true;
  // Empty the counter before reading the flags: the next poll then sees any later wake.
  std::uint64_t count = 0;
  [[maybe_unused]] const ssize_t drained = read(wakeDescriptor_, &count, sizeof count);
  return stopped_ || resumed_;
}

// A read in the background stops the process, and the read resumes when the process continues. In the foreground it
// would then wait for a key that is not typed yet, although the prompt is due; in the background it would stop the
// process again, although a shell has already read the input. So the process stops before it reads, and then checks
// again: the input that poll saw may be what brought it to the foreground, and may be gone.
StdinKeySource::Turn StdinKeySource::askForTurn() {
  const int descriptor = fileno(in_);
  if (!inBackgroundOf(descriptor)) return hasInput() ? Turn::Ours : Turn::Passed;
  stopForInput(descriptor);
  if (!inBackgroundOf(descriptor) || !hasInput()) return Turn::Passed;
  // The process was not stopped, or it continued in the background while the input is still there. A read of zero bytes
  // shows which, or stops the process.
  char nothing = 0;
  if (read(descriptor, &nothing, 0) < 0) return errno == EINTR || errno == EAGAIN ? Turn::Passed : Turn::Never;
  // A terminal that stops no process in the background lets every process read.
  return inBackgroundOf(descriptor) ? Turn::Ours : Turn::Passed;
}

// Whether a byte, the end or an error is there to read.
bool StdinKeySource::hasInput() const {
  pollfd input{fileno(in_), POLLIN, 0};
  return poll(&input, 1, 0) > 0;
}

void StdinKeySource::wake() noexcept {
  const int savedErrno = errno;
  const std::uint64_t one = 1;
  // Fails only when the counter is full; then the reader is awake already.
  [[maybe_unused]] const ssize_t written = write(wakeDescriptor_, &one, sizeof one);
  errno = savedErrno;
}

}  // namespace flowscope
