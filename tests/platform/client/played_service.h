// A service on a thread that answers what a test wants.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <zmq.hpp>

#include "platform/wire/messages.h"

namespace client {

inline constexpr std::uint64_t PlayedSession = 77;

// A service on a thread of its own that answers as a test says. It knows one client.
class PlayedService {
 public:
  using Answer = std::function<void(PlayedService&, std::uint32_t tag, const wire::Body&)>;

  PlayedService(zmq::context_t& context, const std::string& address, Answer answer)
      : socket_(context, zmq::socket_type::router), answer_(std::move(answer)) {
    socket_.set(zmq::sockopt::linger, 0);
    socket_.set(zmq::sockopt::rcvtimeo, 10);
    socket_.bind(address);
    thread_ = std::thread([this] { run(); });
  }
  PlayedService(const PlayedService&) = delete;
  PlayedService& operator=(const PlayedService&) = delete;
  ~PlayedService() {
    stop_ = true;
    thread_.join();
  }

  // To whom the message at hand came from.
  void reply(std::uint32_t tag, const wire::Body& body) { send(peer_, tag, body); }

  void toEventChannel(const wire::Body& body) { send(eventPeer_, 0, body); }
  void toGraphChannel(const wire::Body& body) { send(graphPeer_, 0, body); }

  // What every service does; the rest is the test's.
  void answerGreeting(std::uint32_t tag, const wire::Body& body) {
    if (std::holds_alternative<wire::Hello>(body)) reply(tag, wire::Welcome{PlayedSession, 8});
    if (std::holds_alternative<wire::OpenEvents>(body)) eventPeer_ = peer_;
    if (std::holds_alternative<wire::OpenGraph>(body)) graphPeer_ = peer_;
    if (std::holds_alternative<wire::OpenEvents>(body) || std::holds_alternative<wire::OpenGraph>(body) ||
        std::holds_alternative<wire::Goodbye>(body)) {
      reply(tag, wire::Result{});
    }
  }

 private:
  void run() {
    zmq::message_t peer;
    zmq::message_t message;
    while (!stop_) {
      if (!socket_.recv(peer) || !socket_.recv(message)) continue;
      peer_ = peer.to_string();
      const auto envelope = wire::decode({message.data<const std::uint8_t>(), message.size()});
      if (envelope) answer_(*this, envelope->tag, envelope->body);
    }
  }

  void send(const std::string& peer, std::uint32_t tag, const wire::Body& body) {
    const auto bytes = wire::encode(tag, body);
    zmq_send(socket_.handle(), peer.data(), peer.size(), ZMQ_SNDMORE);
    zmq_send(socket_.handle(), bytes.data(), bytes.size(), 0);
  }

  zmq::socket_t socket_;
  Answer answer_;
  std::atomic<bool> stop_{false};
  std::string peer_;
  std::string eventPeer_;
  std::string graphPeer_;
  std::thread thread_;
};

}  // namespace client
