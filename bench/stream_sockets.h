// Unix stream sockets for programs that are compared with, and frames on them.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/channel/frames.h"
#include "tests/support/unique_fd.h"

namespace bench {

inline std::system_error socketError(const std::string& what) { return {errno, std::generic_category(), what}; }

inline sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) throw std::invalid_argument("too long for a socket: " + path);
  std::ranges::copy(path, std::begin(address.sun_path));
  return address;
}

inline testsupport::UniqueFd streamSocket() {
  testsupport::UniqueFd made(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!made) throw socketError("socket");
  return made;
}

inline testsupport::UniqueFd listenAt(const std::string& path) {
  const sockaddr_un address = addressOf(path);
  auto listener = streamSocket();
  if (bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      listen(listener.get(), 1) != 0) {
    throw socketError(path);
  }
  return listener;
}

inline testsupport::UniqueFd acceptFrom(const testsupport::UniqueFd& listener) {
  testsupport::UniqueFd accepted(accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
  if (!accepted) throw socketError("accept4");
  return accepted;
}

// Waits until somebody listens there.
inline testsupport::UniqueFd connectTo(const std::string& path) {
  const sockaddr_un address = addressOf(path);
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  for (;;) {
    auto made = streamSocket();
    if (connect(made.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return made;
    if (std::chrono::steady_clock::now() > end) throw socketError(path);
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

// Blocks until all are written.
inline void writeAll(int socket, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t size = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (size < 0) throw socketError("send");
    bytes = bytes.subspan(static_cast<std::size_t>(size));
  }
}

// The messages that arrive on a socket.
class FrameSource {
 public:
  explicit FrameSource(int socket) : socket_(socket) {}

  // The next message, valid until the next call; nullopt when the stream has ended. Blocks; calls beforeBlocking first.
  template <class BeforeBlocking>
  std::optional<std::span<const std::uint8_t>> next(BeforeBlocking beforeBlocking) {
    for (;;) {
      if (const auto message = reader_.next()) return message;
      ssize_t size = recv(socket_, buffer_.data(), buffer_.size(), MSG_DONTWAIT);
      if (size < 0 && errno == EAGAIN) {
        beforeBlocking();
        size = recv(socket_, buffer_.data(), buffer_.size(), 0);
      }
      if (size <= 0) return std::nullopt;
      reader_.feed({buffer_.data(), static_cast<std::size_t>(size)});
    }
  }

 private:
  int socket_;
  channel::FrameReader reader_;
  std::array<std::uint8_t, 65536> buffer_{};
};

// What a relay does with the bytes between its sockets.
class FrameRelay {
 public:
  void arrived(std::span<const std::uint8_t> bytes) {
    reader_.feed(bytes);
    while (const auto message = reader_.next()) channel::appendFrame(*message, waiting_);
  }

  // The frames to write.
  std::span<const std::uint8_t> waiting() const { return std::span(waiting_).subspan(written_); }

  void written(std::size_t size) {
    written_ += size;
    if (written_ < waiting_.size()) return;
    waiting_.clear();
    written_ = 0;
  }

 private:
  channel::FrameReader reader_;
  std::vector<std::uint8_t> waiting_;
  std::size_t written_ = 0;
};

}  // namespace bench
