#include "terminal/waiting_stream.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <system_error>

#include "terminal/awaited_room.h"
#include "terminal/parting_text.h"

namespace flowscope {
namespace {

// The signals that a failed write raises for its thread.
sigset_t writeSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGPIPE);
  sigaddset(&signals, SIGXFSZ);
  return signals;
}

// What stands behind a stream.
class WaitingText final : public PartingText {
 public:
  explicit WaitingText(int descriptor) : descriptor_(descriptor), byLines_(isatty(descriptor) == 1) {
    pthread_sigmask(SIG_BLOCK, nullptr, &blockedBefore_);
    enter();
  }
  ~WaitingText() override { leave(); }

  int descriptor() const { return descriptor_; }
  void holdLines() { byLines_ = false; }

  // Returns false after an error.
  bool write(std::string_view text) {
    const std::size_t lastLineEnd = byLines_ ? text.rfind('\n') : std::string_view::npos;
    const std::size_t behindLines = lastLineEnd == std::string_view::npos ? text.size() : text.size() - lastLineEnd - 1;
    const bool hasLine = behindLines < text.size();
    while (!text.empty()) {
      text.remove_prefix(text_.append(text));
      if (!text.empty() && !flush()) return false;
    }
    return !hasLine || writeOut(text_, text_.end() - behindLines);
  }

  bool flush() { return writeOut(text_, PendingText::Everything); }

  // Blocks until all before the mark is written. Returns false after an error; then the text is lost, as it is in a
  // stream of the system.
  bool writeOut(PendingText& text, PendingText::Mark before) const {
    AwaitedRoom room;
    for (;;) {
      const auto [state, error] = text.writeOnce(descriptor_, before);
      switch (state) {
        case PendingText::State::Written:
          return true;
        case PendingText::State::Left:
          room.found();
          break;
        case PendingText::State::NoRoom:
          room.await(descriptor_, -1);
          break;
        case PendingText::State::Refused:
          letSignalPass(error);
          text.clear();
          return false;
      }
    }
  }

  void writeOnSignal(const PartingTime& time) noexcept override { text_.writeOnSignal(descriptor_, time); }

 private:
  // The failed write has raised a signal, which waits if only this thread blocks it.
  void letSignalPass(int error) const {
    const int signal = error == EPIPE ? SIGPIPE : SIGXFSZ;
    if ((error != EPIPE && error != EFBIG) || sigismember(&blockedBefore_, signal) == 1) return;
    const sigset_t both = writeSignals();
    sigset_t before;
    pthread_sigmask(SIG_UNBLOCK, &both, &before);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
  }

  friend class OpenStreams;

  int descriptor_;
  std::atomic<bool> byLines_;
  sigset_t blockedBefore_{};
  PendingText text_;
  std::FILE* stream_ = nullptr;
  WaitingText* next_ = nullptr;
};

// Finds what stands behind a stream. There are few, and they stay.
class OpenStreams {
 public:
  void add(WaitingText& text, std::FILE* stream) {
    const std::lock_guard guard(lock_);
    text.stream_ = stream;
    text.next_ = first_;
    first_ = &text;
  }

  void remove(WaitingText& text) {
    const std::lock_guard guard(lock_);
    WaitingText** place = &first_;
    while (*place != &text) place = &(*place)->next_;
    *place = text.next_;
  }

  // Null for another stream.
  WaitingText* behind(std::FILE* stream) {
    const std::lock_guard guard(lock_);
    WaitingText* each = first_;
    while (each != nullptr && each->stream_ != stream) each = each->next_;
    return each;
  }

  // The one behind the other, the first for null.
  WaitingText* after(const WaitingText* text) {
    const std::lock_guard guard(lock_);
    return text == nullptr ? first_ : text->next_;
  }

 private:
  SignalSafeLock lock_;
  WaitingText* first_ = nullptr;
};

OpenStreams openStreams;

ssize_t writeCookie(void* cookie, const char* bytes, std::size_t size) {
  return static_cast<WaitingText*>(cookie)->write({bytes, size}) ? static_cast<ssize_t>(size) : 0;
}

int closeCookie(void* cookie) {
  const std::unique_ptr<WaitingText> text(static_cast<WaitingText*>(cookie));
  openStreams.remove(*text);
  return text->flush() ? 0 : -1;
}

}  // namespace

std::FILE* openWaitingStream(int descriptor) {
  auto text = std::make_unique<WaitingText>(descriptor);
  cookie_io_functions_t functions{};
  functions.write = writeCookie;
  functions.close = closeCookie;
  std::FILE* const stream = fopencookie(text.get(), "w", functions);
  if (stream == nullptr) throw std::system_error(errno, std::generic_category(), "fopencookie");
  std::setvbuf(stream, nullptr, _IONBF, 0);
  openStreams.add(*text.release(), stream);
  return stream;
}

void holdLines(std::FILE* stream) {
  if (WaitingText* const text = openStreams.behind(stream)) text->holdLines();
}

void flushStream(std::FILE* stream) {
  if (WaitingText* const text = openStreams.behind(stream)) {
    text->flush();
  } else {
    std::fflush(stream);
  }
}

void flushWaitingStreams() {
  for (WaitingText* each = openStreams.after(nullptr); each != nullptr; each = openStreams.after(each)) each->flush();
}

void writeThrough(std::FILE* stream, PendingText& text, PendingText::Mark before) {
  flockfile(stream);
  if (WaitingText* const behind = openStreams.behind(stream)) {
    if (behind->flush()) behind->writeOut(text, before);
  } else {
    const std::string taken = text.take(before);
    std::fwrite(taken.data(), 1, taken.size(), stream);
    std::fflush(stream);
  }
  funlockfile(stream);
}

int descriptorOf(std::FILE* stream) {
  const WaitingText* const text = openStreams.behind(stream);
  return text == nullptr ? -1 : text->descriptor();
}

}  // namespace flowscope
