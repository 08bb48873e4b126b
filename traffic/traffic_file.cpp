#include "traffic/traffic_file.h"

#include <fcntl.h>

#include <cerrno>
#include <system_error>

#include "traffic/write_signals.h"

namespace flowscope {

namespace {

std::FILE* openToWrite(const char* name) {
  std::FILE* const stream = std::fopen(name, "w");
  if (stream == nullptr) return nullptr;
  // With a buffer, an abandoned stream would write its rest over the file at the end of the process, and a signal
  // would cost the messages seen last.
  std::setvbuf(stream, nullptr, _IONBF, 0);
  // A write that is under way when the same file is opened anew would leave a hole in front of itself.
  const int descriptor = fileno(stream);
  fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) | O_APPEND);
  return stream;
}

// 0, or the error that kept the text or its rest from being written.
int writeAll(std::FILE* stream, std::string_view text) {
  const WriteSignals signals;
  if (std::fwrite(text.data(), 1, text.size(), stream) == text.size()) return 0;
  const int cause = errno;
  signals.take(cause);
  return cause;
}

}  // namespace

bool TrafficFile::open(const char* name) {
  std::FILE* const stream = openToWrite(name);
  std::atomic_store(&stream_, stream == nullptr ? nullptr : std::make_shared<Stream>(stream, name));
  return stream != nullptr;
}

void TrafficFile::close() {
  if (const auto stream = std::atomic_exchange(&stream_, std::shared_ptr<Stream>())) stream->closing = true;
}

void TrafficFile::write(std::string_view text) const {
  const auto stream = std::atomic_load(&stream_);
  if (!stream) return;
  const int cause = writeAll(stream->file, text);
  if (cause == 0 || stream->refused.exchange(true)) return;
  const std::string said = std::generic_category().message(cause);
  std::fprintf(stderr, "flowscope: cannot write to %s: %s\n", stream->name.c_str(), said.c_str());
}

bool TrafficFile::isOpen() const { return std::atomic_load(&stream_) != nullptr; }

}  // namespace flowscope
