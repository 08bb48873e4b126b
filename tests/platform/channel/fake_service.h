// A service that says what a test wants.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/channel/connector.h"
#include "platform/host/stream_server.h"
#include "platform/system/local_socket.h"
#include "platform/wire/messages.h"

namespace channel {

// The sockets of a service. One thread at a time.
class FakeService {
 public:
  FakeService() = default;

  // Listens at a local socket with this path, and removes it at the end.
  explicit FakeService(std::string path) : path_(std::move(path)) { EXPECT_EQ(server_.listen(path_), std::nullopt); }
  FakeService(const FakeService&) = delete;
  FakeService& operator=(const FakeService&) = delete;
  ~FakeService() {
    if (!path_.empty()) unlink(path_.c_str());
  }

  // Connects within the process. Must not be used when the service has gone.
  Connector connector() {
    return Connector([this] {
      auto [ours, theirs] = sys::localSocketPair();
      asio::post(loop_, [this, theirs = std::move(theirs)]() mutable { server_.adopt(std::move(theirs)); });
      return std::move(ours);
    });
  }

  // The next message of a client, a view that is valid until the next receive. Nothing when none comes in time.
  std::optional<wire::Envelope> receive(std::chrono::milliseconds patience = {}) {
    const auto end = std::chrono::steady_clock::now() + patience;
    serve();
    while (arrived_.empty() && loop_.run_one_until(end) > 0) serve();
    if (arrived_.empty()) return std::nullopt;
    std::tie(peer_, message_) = std::move(arrived_.front());
    arrived_.pop_front();
    return wire::decode(message_);
  }

  // Who sent the last message.
  host::ConnectionId peer() const { return peer_; }

  // To who sent the last message, or to one who sent an earlier one.
  void send(std::uint32_t tag, const wire::Body& body) { send(peer_, tag, body); }
  void send(host::ConnectionId peer, std::uint32_t tag, const wire::Body& body) {
    server_.send(peer, wire::encode(tag, body));
    server_.flush();
  }

 private:
  // Takes in all that has come.
  void serve() {
    while (loop_.poll() > 0 || server_.serve(1)) server_.flush();
  }

  std::string path_;
  asio::io_context loop_;
  asio::executor_work_guard<asio::io_context::executor_type> work_ = asio::make_work_guard(loop_);
  std::deque<std::pair<host::ConnectionId, std::vector<std::uint8_t>>> arrived_;
  host::ConnectionId peer_ = host::ConnectionId::None;
  std::vector<std::uint8_t> message_;
  host::StreamServer server_{loop_,
                             {[](host::ConnectionId) {},
                              [this](host::ConnectionId from, std::span<const std::uint8_t> message) {
                                arrived_.emplace_back(from, std::vector(message.begin(), message.end()));
                                return host::Handled{};
                              },
                              [](host::ConnectionId) {}},
                             {}};
};

}  // namespace channel
