#include "platform/host/host.h"

#include <asio/post.hpp>
#include <chrono>
#include <span>
#include <system_error>
#include <utility>

#include "platform/channel/deadline.h"
#include "platform/system/earliest.h"

namespace host {

using channel::clockNow;

namespace {

// Turns of connections, and events of the loop, before the device gets its turn.
constexpr int TurnsAtOnce = 64;

// Only one thread runs the loop.
constexpr int LoopThreads = 1;

}  // namespace

Host::Watched::Watched(asio::io_context& loop, int descriptor) : descriptor_(loop, descriptor) {}

void Host::Watched::watch() {
  if (std::exchange(isWatched_, true)) return;
  descriptor_.async_wait(asio::posix::stream_descriptor::wait_read,
                         [this](const std::error_code& /*problem*/) { isWatched_ = false; });
}

Host::Host(std::unique_ptr<device::Driver> driver, const Settings& settings, Log log, Log warnings)
    : log_(log),
      warnings_(std::move(warnings)),
      loop_(LoopThreads),
      server_(loop_,
              {[this](ConnectionId connection) { dispatcher_.connectionOpened(connection, clockNow()); },
               [this](ConnectionId from, std::span<const std::uint8_t> message) {
                 return dispatcher_.receive(from, message, clockNow());
               },
               [this](ConnectionId connection) { dispatcher_.connectionClosed(connection, clockNow()); },
               [this](ConnectionId connection) { dispatcher_.continued(connection); }},
              std::move(log)),
      service_(std::move(driver), settings.service, clockNow()),
      dispatcher_(service_, server_, settings, log_.log(clockNow), warnings_.log(clockNow)),
      wakeWatched_(loop_, wake_.descriptor()) {
  server_.countIn(service_.memory());
  if (service_.descriptor() >= 0) serviceWatched_.emplace(loop_, service_.descriptor());
}

Host::~Host() = default;

void Host::adopt(sys::UniqueDescriptor socket) {
  const std::lock_guard guard(adopting_);
  if (hasEnded_) return;
  adopted_.push_back(std::move(socket));
  asio::post(loop_, [this] { enterAdopted(); });
}

void Host::enterAdopted() {
  std::vector<sys::UniqueDescriptor> sockets;
  {
    const std::lock_guard guard(adopting_);
    sockets.swap(adopted_);
  }
  for (sys::UniqueDescriptor& socket : sockets) {
    try {
      server_.adopt(std::move(socket));
    } catch (const std::system_error&) {
      // The system has no room for it; the other end sees it close.
    }
  }
}

void Host::run() {
  try {
    serve();
  } catch (...) {
    end();
    throw;
  }
  end();
}

void Host::end() {
  {
    const std::lock_guard guard(adopting_);
    hasEnded_ = true;
    adopted_.clear();
  }
  server_.closeAll();
}

void Host::serve() {
  while (!stopping_) {
    auto next = dispatcher_.advance(clockNow());
    for (LogLimit* log : {&log_, &warnings_}) sys::keepEarlier(next, log->advance(clockNow()));
    dispatcher_.tellTaken();
    server_.flush();
    wait(server_.hasWork() ? clockNow() : next);
    server_.serve(TurnsAtOnce);
    // Before the device's turn, which would only delay what has just arrived.
    server_.flush();
  }
  dispatcher_.finish(clockNow());
  log_.finish();
  warnings_.finish();
}

void Host::stop() noexcept {
  stopping_ = true;
  wake_.wake();
}

void Host::wait(std::optional<device::Time> until) {
  wakeWatched_.watch();
  if (serviceWatched_) serviceWatched_->watch();
  // Bounded, since handlers of a storm of connections follow one another without end.
  int handled = 0;
  while (handled < TurnsAtOnce && loop_.poll_one() > 0) ++handled;
  if (handled > 0) return;
  // What ends the wait is served at once: a look for more would come before its answer.
  if (!until) {
    loop_.run_one();
  } else if (*until > clockNow()) {
    using Clock = std::chrono::steady_clock;
    loop_.run_one_until(Clock::time_point(std::chrono::duration_cast<Clock::duration>(*until)));
  }
}

}  // namespace host
