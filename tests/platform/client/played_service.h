// A service on a thread that answers what a test wants.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <variant>

#include "platform/wire/messages.h"
#include "tests/platform/channel/fake_service.h"

namespace client {

inline constexpr std::uint64_t PlayedSession = 77;

// A service on a thread of its own that answers as a test says. It knows one client.
class PlayedService {
 public:
  using Answer = std::function<void(PlayedService&, std::uint32_t tag, const wire::Body&)>;

  // Within this process (see connector).
  explicit PlayedService(Answer answer) : answer_(std::move(answer)), thread_([this] { run(); }) {}

  // At a local socket with this path.
  PlayedService(const std::string& path, Answer answer)
      : service_(path), answer_(std::move(answer)), thread_([this] { run(); }) {}
  PlayedService(const PlayedService&) = delete;
  PlayedService& operator=(const PlayedService&) = delete;
  ~PlayedService() {
    stop_ = true;
    thread_.join();
  }

  // Must not be used when the service has gone.
  channel::Connector connector() { return service_.connector(); }

  // To whom the message at hand came from.
  void reply(std::uint32_t tag, const wire::Body& body) { service_.send(tag, body); }

  void toEventChannel(const wire::Body& body) { service_.send(eventPeer_, 0, body); }
  void toGraphChannel(const wire::Body& body) { service_.send(graphPeer_, 0, body); }

  // What every service does; the rest is the test's.
  void answerGreeting(std::uint32_t tag, const wire::Body& body) {
    if (std::holds_alternative<wire::Hello>(body)) reply(tag, wire::Welcome{PlayedSession, 8});
    if (std::holds_alternative<wire::OpenEvents>(body)) eventPeer_ = service_.peer();
    if (std::holds_alternative<wire::OpenGraph>(body)) graphPeer_ = service_.peer();
    if (std::holds_alternative<wire::OpenEvents>(body) || std::holds_alternative<wire::OpenGraph>(body) ||
        std::holds_alternative<wire::Goodbye>(body)) {
      reply(tag, wire::Result{});
    }
  }

 private:
  void run() {
    while (!stop_) {
      const auto envelope = service_.receive(std::chrono::milliseconds(10));
      if (envelope) answer_(*this, envelope->tag, envelope->body);
    }
  }

  channel::FakeService service_;
  Answer answer_;
  std::atomic<bool> stop_{false};
  host::ConnectionId eventPeer_ = host::ConnectionId::None;
  host::ConnectionId graphPeer_ = host::ConnectionId::None;
  std::thread thread_;
};

}  // namespace client
