#include "platform/channel/stream.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>

#include "platform/system/through_signals.h"

namespace channel {

Stream::Read Stream::read() {
  if (reader_.broken()) return Read::Ended;
  // Not initialized: a read of a few bytes must not cost as much as one of many.
  std::array<std::uint8_t, ReadBytes> bytes;  // NOLINT(cppcoreguidelines-pro-type-member-init)
  const auto got = sys::throughSignals([&] { return recv(socket_, bytes.data(), bytes.size(), MSG_DONTWAIT); });
  drained_ = got < static_cast<ssize_t>(bytes.size());
  if (got < 0) return errno == EAGAIN ? Read::Nothing : Read::Ended;
  if (got == 0) return Read::Ended;
  reader_.feed(std::span(bytes).first(static_cast<std::size_t>(got)));
  return Read::Bytes;
}

void Stream::queue(std::span<const std::uint8_t> message) {
  if (failed_) return;
  if (written_ > 0 && written_ >= out_.size() / 2) {
    out_.erase(out_.begin(), out_.begin() + static_cast<std::ptrdiff_t>(written_));
    written_ = 0;
  }
  appendFrame(message, out_);
}

void Stream::trim() {
  reader_.trim();
  if (out_.capacity() > waiting()) {
    out_ = std::vector<std::uint8_t>(out_.begin() + static_cast<std::ptrdiff_t>(written_), out_.end());
    written_ = 0;
  }
}

bool Stream::flush() {
  while (!failed_ && waiting() > 0) {
    const auto sent = sys::throughSignals(
        [&] { return send(socket_, out_.data() + written_, waiting(), MSG_NOSIGNAL | MSG_DONTWAIT); });
    if (sent < 0 && errno == EAGAIN) return true;
    // A part of a frame may have been sent, so nothing may follow.
    failed_ = sent < 0;
    if (!failed_) written_ += static_cast<std::size_t>(sent);
  }
  out_.clear();
  written_ = 0;
  if (out_.capacity() > KeptBytes) std::vector<std::uint8_t>().swap(out_);
  return !failed_;
}

}  // namespace channel
