#include "terminal/pending_text.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <mutex>

#include "terminal/own_opening.h"

namespace flowscope {
namespace {

// What a pipe or a socket takes at once without blocking, if poll says that it has room.
constexpr std::size_t SurelyTaken = PIPE_BUF;

// A descriptor whose writes do not block, if poll says that it has room. For signal handlers.
class ReadyDescriptor {
 public:
  explicit ReadyDescriptor(int descriptor) noexcept : descriptor_(descriptor) {
    // A terminal may report room that is too little for the next character, and another thread may fill a pipe. Flags
    // are shared with other processes; those of another opening are not.
    const Behind behind = whatIsBehind(descriptor);
    if (behind != Behind::Terminal && behind != Behind::Pipe) return;
    opened_ = openAgain(descriptor);
    if (opened_ >= 0) {
      descriptor_ = opened_;
      return;
    }
    // Another user's terminal cannot be opened again. A pipe that cannot has no reader.
    flags_ = behind == Behind::Terminal ? fcntl(descriptor, F_GETFL) : -1;
    if (flags_ < 0 || fcntl(descriptor, F_SETFL, flags_ | O_NONBLOCK) < 0) descriptor_ = -1;
  }
  ReadyDescriptor(const ReadyDescriptor&) = delete;
  ReadyDescriptor& operator=(const ReadyDescriptor&) = delete;
  ~ReadyDescriptor() {
    if (flags_ >= 0 && descriptor_ >= 0) fcntl(descriptor_, F_SETFL, flags_);
    if (opened_ >= 0) close(opened_);
  }

  // Negative if there is none.
  int get() const noexcept { return descriptor_; }

 private:
  int descriptor_;
  int opened_ = -1;
  int flags_ = -1;  // to set again
};

}  // namespace

std::size_t PendingText::append(std::string_view text) {
  const std::lock_guard guard(lock_);
  const std::size_t count = std::min(text.size(), makeRoom(text.size()));
  copy(text.substr(0, count));
  return count;
}

bool PendingText::appendWhole(std::string_view text) {
  const std::lock_guard guard(lock_);
  if (makeRoom(text.size()) < text.size()) return false;
  copy(text);
  return true;
}

bool PendingText::empty() const {
  const std::lock_guard guard(lock_);
  return begin_ == end_;
}

PendingText::Mark PendingText::end() const {
  const std::lock_guard guard(lock_);
  return appended_;
}

PendingText::Outcome PendingText::writeOnce(int descriptor, Mark before) {
  const std::lock_guard guard(lock_);
  const BlockingStep step(descriptor);
  // The signal is raised when the lock is released.
  if (step.isTooLate()) return {State::Left};
  return writeLocked(descriptor, before, Capacity);
}

PendingText::Outcome PendingText::writeLines(int pipe) {
  const std::lock_guard guard(lock_);
  const std::size_t lines = countOfLines(PIPE_BUF);
  const Outcome outcome = writeLocked(pipe, Everything, lines);
  const std::size_t line = std::min(lines, std::string_view(characters_.data() + begin_, lines).find('\n') + 1);
  if (outcome.state != State::NoRoom || line == 0 || line == lines) return outcome;
  return writeLocked(pipe, Everything, line);
}

std::string PendingText::take(Mark before) {
  const std::lock_guard guard(lock_);
  const std::size_t count = countBefore(before);
  std::string text(characters_.data() + begin_, count);
  remove(count);
  return text;
}

void PendingText::clear() {
  const std::lock_guard guard(lock_);
  begin_ = end_ = 0;
}

PendingText::Mark PendingText::endOnSignal(const PartingTime& time) const noexcept {
  if (!lock_.lockWithin(time)) return 0;
  const Mark mark = appended_;
  lock_.unlock();
  return mark;
}

int PendingText::writeOnSignal(int descriptor, const PartingTime& time, Mark before) noexcept {
  if (!lock_.lockWithin(time)) return 0;
  const int error = countBefore(before) == 0 ? 0 : writeReady(descriptor, time, before);
  lock_.unlock();
  return error;
}

int PendingText::writeReady(int descriptor, const PartingTime& time, Mark before) noexcept {
  const ReadyDescriptor ready(descriptor);
  Outcome outcome{State::Left};
  while (ready.get() >= 0 && (outcome.state == State::Left || outcome.state == State::NoRoom)) {
    pollfd room{ready.get(), POLLOUT, 0};
    if (poll(&room, 1, time.left()) <= 0) return 0;
    outcome = writeLocked(ready.get(), before, SurelyTaken);
    if (outcome.state == State::NoRoom) poll(nullptr, 0, std::min(1, time.left()));
  }
  return outcome.state == State::Refused ? outcome.error : 0;
}

// Returns how much room there is.
std::size_t PendingText::makeRoom(std::size_t size) {
  if (size > Capacity - end_ && begin_ > 0) {
    std::memmove(characters_.data(), characters_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
  }
  return Capacity - end_;
}

void PendingText::copy(std::string_view text) {
  std::copy_n(text.data(), text.size(), characters_.data() + end_);
  end_ += text.size();
  appended_ += text.size();
}

// The size of the lines that come first and are not larger than that together.
std::size_t PendingText::countOfLines(std::size_t most) const noexcept {
  const std::string_view all(characters_.data() + begin_, end_ - begin_);
  if (all.size() <= most) return all.size();
  const std::size_t last = all.substr(0, most).rfind('\n');
  return last == std::string_view::npos ? most : last + 1;
}

std::size_t PendingText::countBefore(Mark mark) const noexcept {
  const Mark written = appended_ - (end_ - begin_);
  if (mark <= written) return 0;
  return static_cast<std::size_t>(std::min<Mark>(end_ - begin_, mark - written));
}

void PendingText::remove(std::size_t count) noexcept {
  begin_ += count;
  if (begin_ == end_) begin_ = end_ = 0;
}

PendingText::Outcome PendingText::writeLocked(int descriptor, Mark before, std::size_t most) noexcept {
  const std::size_t count = std::min(countBefore(before), most);
  if (count == 0) return {State::Written};
  const ssize_t taken = ::write(descriptor, characters_.data() + begin_, count);
  if (taken < 0) {
    if (errno == EINTR) return {State::Left};
    return {errno == EAGAIN ? State::NoRoom : State::Refused, errno};
  }
  remove(static_cast<std::size_t>(taken));
  return {countBefore(before) == 0 ? State::Written : State::Left};
}

}  // namespace flowscope
