// A connection to a service that says any bytes.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>

namespace streamd {

// To a local socket. Says what a test wants, or nothing.
class RawSocket {
 public:
  // With SOCK_NONBLOCK it does not wait for room among the connections that the service has not accepted yet.
  explicit RawSocket(const std::string& path, int flags = 0)
      : descriptor_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::ranges::copy(path, std::begin(address.sun_path));
    const auto* any = reinterpret_cast<const sockaddr*>(&address);
    connected_ = connect(descriptor_, any, sizeof address) == 0;
  }
  RawSocket(const RawSocket&) = delete;
  RawSocket& operator=(const RawSocket&) = delete;
  ~RawSocket() { close(descriptor_); }

  bool connected() const { return connected_; }

  // True when the other end closes it within ten seconds. What arrives before is skipped.
  bool closes() {
    timeval patience{10, 0};
    setsockopt(descriptor_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    std::array<std::uint8_t, 64> bytes{};
    ssize_t size = 1;
    while (size > 0) size = recv(descriptor_, bytes.data(), bytes.size(), 0);
    return size == 0 || errno == ECONNRESET;
  }

  void write(std::string_view bytes) { send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT); }

 private:
  int descriptor_;
  bool connected_ = false;
};

}  // namespace streamd
