// A service that says any bytes, right or wrong.
#pragma once

#include <fcntl.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <thread>
#include <utility>
#include <vector>

#include "platform/channel/connector.h"
#include "platform/channel/frames.h"
#include "platform/system/local_socket.h"
#include "platform/system/unique_descriptor.h"
#include "platform/wire/messages.h"

namespace channel {

// Welcomes the client of one connection, waits for one request more, and then does what a test wants, on a thread of
// its own.
class RawService {
 public:
  using Answer = std::function<void(RawService&, std::uint32_t tag)>;

  explicit RawService(Answer answer) : answer_(std::move(answer)) {
    auto [ours, theirs] = sys::localSocketPair();
    ours_ = std::move(ours);
    theirs_ = std::move(theirs);
    fcntl(ours_.get(), F_SETFL, 0);  // the thread may block
    thread_ = std::thread([this] { run(); });
  }
  RawService(const RawService&) = delete;
  RawService& operator=(const RawService&) = delete;
  ~RawService() {
    stopping_ = true;
    shutdown(ours_.get(), SHUT_RDWR);
    thread_.join();
  }

  // For one connection.
  Connector connector() {
    return Connector([this] { return std::move(theirs_); });
  }

  // Blocks until the client has taken it. Returns false if the client has gone, or the test has ended.
  bool write(std::span<const std::uint8_t> bytes) {
    while (!bytes.empty() && !stopping_) {
      const auto sent = send(ours_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (sent <= 0) return false;
      bytes = bytes.subspan(static_cast<std::size_t>(sent));
    }
    return !stopping_;
  }

  bool write(std::uint32_t tag, const wire::Body& body) { return write(frame(tag, body)); }

  static std::vector<std::uint8_t> frame(std::uint32_t tag, const wire::Body& body) {
    std::vector<std::uint8_t> bytes;
    appendFrame(wire::encode(tag, body), bytes);
    return bytes;
  }

  bool stopping() const { return stopping_; }

 private:
  void run() {
    const auto hello = readTag();
    if (!hello) return;
    write(*hello, wire::Welcome{7, 100});
    if (const auto request = readTag()) answer_(*this, *request);
  }

  // Waits for a message.
  std::optional<std::uint32_t> readTag() {
    std::array<std::uint8_t, 4096> bytes{};
    for (;;) {
      if (const auto message = reader_.next()) return wire::tagOf(*message);
      const auto got = recv(ours_.get(), bytes.data(), bytes.size(), 0);
      if (got <= 0) return std::nullopt;
      reader_.feed(std::span(bytes).first(static_cast<std::size_t>(got)));
    }
  }

  Answer answer_;
  sys::UniqueDescriptor ours_;
  sys::UniqueDescriptor theirs_;
  FrameReader reader_;
  std::atomic<bool> stopping_{false};
  std::thread thread_;
};

}  // namespace channel
