#include "traffic/traffic_file.h"

#include <utility>

namespace flowscope {

void TrafficFile::open(std::FILE* stream) {
  std::atomic_store(&stream_, stream == nullptr ? nullptr : std::make_shared<Stream>(stream));
}

void TrafficFile::close() {
  if (const auto stream = std::atomic_exchange(&stream_, std::shared_ptr<Stream>())) stream->closing = true;
}

void TrafficFile::write(std::string_view text) const {
  if (const auto stream = std::atomic_load(&stream_)) std::fwrite(text.data(), 1, text.size(), stream->file);
}

bool TrafficFile::isOpen() const { return std::atomic_load(&stream_) != nullptr; }

}  // namespace flowscope
