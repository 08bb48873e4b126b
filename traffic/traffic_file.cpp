#include "traffic/traffic_file.h"

#include <fcntl.h>

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
  // With a buffer, an abandoned stream would write its rest over the file at the end of the process, and a signal would
  // lose the latest messages.
  std::setvbuf(stream, nullptr, _IONBF, 0);
  // If a write is in progress while the same file is opened again, it would leave a hole before its text without
  // O_APPEND. And a reader that has stopped must not block the writing thread.
  const int descriptor = fileno(stream);
  fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) | O_APPEND | O_NONBLOCK);
  return stream;
}

// Returns 0, or the error that kept the text or its rest from being written.
int writeAll(std::FILE* stream, std::string_view text, const Patience& patience) {
  const WriteSignals signals;
  const int cause = writeWaiting(fileno(stream), text, patience);
  signals.take(cause);
  return cause;
}

}  // namespace

bool TrafficFile::open(const char* name) {
  std::FILE* const stream = openToWrite(name);
  const int cause = errno;
  const auto before =
      std::atomic_exchange(&stream_, stream == nullptr ? nullptr : std::make_shared<Stream>(stream, name));
  if (before) before->patience.end();
  errno = cause;
  return stream != nullptr;
}

void TrafficFile::close() {
  const auto stream = std::atomic_exchange(&stream_, std::shared_ptr<Stream>());
  if (!stream) return;
  stream->closing = true;
  stream->patience.end();
}

void TrafficFile::stopWaiting() {
  if (const auto stream = std::atomic_load(&stream_)) stream->patience.end();
}

void TrafficFile::write(std::string_view text) const {
  const auto stream = std::atomic_load(&stream_);
  if (!stream || stream->abandoned) return;
  const int cause = writeAll(stream->file, text, stream->patience);
  if (cause == 0) return;
  // Later text might fit, but would leave a gap before it.
  if (cause == EAGAIN) stream->abandoned = true;
  if (stream->refused.exchange(true) && cause != EAGAIN) return;
  const std::string said =
      cause == EAGAIN ? "its reader does not read any more; the rest is lost" : std::generic_category().message(cause);
  sayError("cannot write to " + stream->name + ": " + said);
}

bool TrafficFile::isOpen() const { return std::atomic_load(&stream_) != nullptr; }

}  // namespace flowscope
