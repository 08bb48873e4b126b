#include "traffic/traffic_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>

#include "terminal/error_line.h"
#include "traffic/open_file.h"
#include "traffic/write_signals.h"

namespace flowscope {

namespace {

std::FILE* openToWrite(const char* name) {
  std::FILE* const stream = openFile(name, "w", KeptFromFilesThatStay);
  if (stream == nullptr) return nullptr;
  // The text waits elsewhere, where an abandoned stream does not write it over the file at the end of the process.
  std::setvbuf(stream, nullptr, _IONBF, 0);
  // If a write is in progress while the same file is opened again, it would leave a hole before its text without
  // O_APPEND. And a reader that has stopped must not block the writing thread.
  const int descriptor = fileno(stream);
  fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) | O_APPEND | O_NONBLOCK);
  return stream;
}

Target targetOf(int descriptor) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 && S_ISFIFO(status.st_mode) ? Target::Pipe : Target::Other;
}

}  // namespace

// Writes what is left and closes its file, if close() was called, as soon as no thread uses it.
class TrafficFile::Stream final : public PartingText {
 public:
  Stream(std::FILE* file, const char* name)
      : file_(file), descriptor_(fileno(file)), target_(targetOf(descriptor_)), name_(name) {
    enter();
  }
  ~Stream() override {
    flush();
    leave();
    if (closing_) std::fclose(file_);
  }

  void write(std::string_view text) {
    append(text);
    flush();
  }

  void collect(std::string_view text) {
    append(text);
    if (writesThrough_) flush();
  }

  void flush() {
    if (!text_.empty()) settle(writeAll());
  }

  bool flushNow() {
    if (text_.empty()) return true;
    int cause = 0;
    {
      const WriteSignals signals;
      cause = writeNow(descriptor_, text_, target_);
      signals.take(cause);
    }
    if (cause == EAGAIN) return false;
    settle(cause);
    return true;
  }

  // From now on no text waits for a later flush, except for room.
  void writeThrough() {
    writesThrough_ = true;
    flushNow();
  }

  void stopWaiting() { patience_.end(); }
  void closeAtTheEnd() { closing_ = true; }

  void writeOnSignal(const PartingTime& time) noexcept override {
    const WriteSignals signals;
    signals.take(text_.writeOnSignal(descriptor_, time));
  }

 private:
  void append(std::string_view text) {
    while (!text.empty() && !abandoned_) {
      text.remove_prefix(text_.append(text));
      if (!text.empty()) flush();
    }
  }

  int writeAll() {
    const WriteSignals signals;
    const int cause = writeWaiting(descriptor_, text_, patience_, target_);
    signals.take(cause);
    return cause;
  }

  // Forgets and reports what could not be written.
  void settle(int cause) {
    if (cause == 0) return;
    // Later text might fit, but would leave a gap before it.
    if (cause == EAGAIN) abandoned_ = true;
    text_.clear();
    if (refused_.exchange(true) && cause != EAGAIN) return;
    const std::string said = cause == EAGAIN ? "its reader does not read any more; the rest is lost"
                                             : std::generic_category().message(cause);
    sayError("cannot write to " + name_ + ": " + said);
  }

  std::FILE* file_;
  int descriptor_;
  Target target_;
  std::string name_;
  std::atomic<bool> closing_ = false;
  std::atomic<bool> refused_ = false;
  std::atomic<bool> abandoned_ = false;
  std::atomic<bool> writesThrough_ = false;
  Patience patience_;
  PendingText text_;
};

bool TrafficFile::open(const char* name) {
  if (const auto stream = std::atomic_load(&stream_)) stream->writeThrough();
  std::FILE* const file = openToWrite(name);
  const int cause = errno;
  const auto before = std::atomic_exchange(&stream_, file == nullptr ? nullptr : std::make_shared<Stream>(file, name));
  if (before) before->stopWaiting();
  errno = cause;
  return file != nullptr;
}

void TrafficFile::close() {
  const auto stream = std::atomic_exchange(&stream_, std::shared_ptr<Stream>());
  if (!stream) return;
  stream->closeAtTheEnd();
  stream->writeThrough();
  stream->stopWaiting();
}

void TrafficFile::stopWaiting() {
  if (const auto stream = std::atomic_load(&stream_)) stream->stopWaiting();
}

void TrafficFile::write(std::string_view text) const {
  if (const auto stream = std::atomic_load(&stream_)) stream->write(text);
}

void TrafficFile::collect(std::string_view text) const {
  if (const auto stream = std::atomic_load(&stream_)) stream->collect(text);
}

void TrafficFile::flush() const {
  if (const auto stream = std::atomic_load(&stream_)) stream->flush();
}

bool TrafficFile::flushNow() const {
  const auto stream = std::atomic_load(&stream_);
  return !stream || stream->flushNow();
}

bool TrafficFile::isOpen() const { return std::atomic_load(&stream_) != nullptr; }

}  // namespace flowscope
