#include "platform/host/host.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <limits>
#include <utility>

#include "platform/channel/deadline.h"

namespace host {

using channel::clockNow;

namespace {

// Messages served before the device gets its turn.
constexpr int MessagesAtOnce = 64;

// Converts to a timeout for zmq_poll. Rounds up, so that it never wakes too early.
long pollTimeout(std::optional<device::Time> until) {
  if (!until) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*until - clockNow()).count();
  return static_cast<long>(std::clamp<decltype(left)>(left, 0, std::numeric_limits<int>::max()));
}

}  // namespace

Host::Host(zmq::context_t& context, std::unique_ptr<device::Driver> driver, const Settings& settings, Log log,
           Log warnings)
    : socket_(context),
      service_(std::move(driver), settings.service, clockNow()),
      dispatcher_(service_, socket_, settings, std::move(log), std::move(warnings)) {}

void Host::run() {
  bool drained = true;
  while (!stopping_) {
    const auto next = dispatcher_.advance(clockNow());
    if (drained) {
      dispatcher_.idle(clockNow());
      wait(next);
    }
    drained = !serve();
  }
  dispatcher_.finish(clockNow());
}

void Host::stop() noexcept {
  stopping_ = true;
  wake_.wake();
}

void Host::wait(std::optional<device::Time> until) {
  std::array<zmq_pollitem_t, 4> items{{{socket_.handle(), 0, ZMQ_POLLIN, 0},
                                       {socket_.monitorHandle(), 0, ZMQ_POLLIN, 0},
                                       {nullptr, wake_.descriptor(), ZMQ_POLLIN, 0},
                                       {nullptr, service_.descriptor(), ZMQ_POLLIN, 0}}};
  const std::size_t count = service_.descriptor() < 0 ? items.size() - 1 : items.size();
  // A signal ends the wait early, which does no harm.
  zmq_poll(items.data(), static_cast<int>(count), pollTimeout(until));
}

bool Host::serve() {
  while (const auto closed = socket_.closedConnection()) dispatcher_.connectionClosed(*closed, clockNow());
  for (int served = 0; served < MessagesAtOnce; ++served) {
    const auto incoming = socket_.receive();
    if (!incoming) return false;
    dispatcher_.receive(incoming->peer, incoming->message, clockNow());
  }
  return true;
}

}  // namespace host
