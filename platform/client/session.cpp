#include "platform/client/session.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "platform/channel/address.h"
#include "platform/system/program_line.h"
#include "platform/wire/events.h"

namespace EvtSrv {

using channel::Deadline;

namespace {

// Interval of looking for a lost service.
constexpr std::chrono::milliseconds LookInterval{200};

// Timeout per answer while attaching; short, because requests wait meanwhile. Not for all answers together: a client
// with many taps needs longer.
constexpr std::chrono::milliseconds AttachTime{500};

// How long a service that missed a deadline is not queried: otherwise a command of a thousand requests would wait a
// thousand times.
constexpr std::chrono::milliseconds SilenceTime{1000};

// Interval of retrying missing taps, and how many at once: other threads wait meanwhile.
constexpr std::chrono::milliseconds TapLookInterval{1000};
constexpr std::size_t TapsAtOnce = 100;

// Time to deliver the events that arrived before the service was lost. Ends earlier if the channel is closed.
constexpr std::chrono::milliseconds RestTime{100};

void report(const std::string& address, std::string_view what) { sys::sayLine(channel::addressLine(address, what)); }

wire::Tap toTap(std::uint64_t session, const channel::TapList::Entry& tap) {
  return {session, tap.first.first, tap.second.holderBytes, tap.first.second};
}

std::string tapsText(std::size_t taps) {
  return std::to_string(taps) + (taps == 1 ? " tap" : " taps") + " attached again";
}

std::string returnText(std::size_t attached, std::size_t wanted) {
  if (wanted == 0) return "the service is back";
  const std::string count = attached == wanted ? "" : std::to_string(attached) + " of ";
  return "the service is back, " + count + tapsText(wanted);
}

}  // namespace

std::variant<std::shared_ptr<EventPortManager::Session>, std::string> EventPortManager::Session::open(
    channel::Connector connector, std::string address) {
  const Deadline deadline(channel::AnswerTime);
  try {
    const std::shared_ptr<Session> session(new Session(std::move(connector), std::move(address)));
    auto& control = session->channels_.emplace(session->connector_).control;
    if (!control.greet(program_invocation_short_name, deadline)) return "the service does not answer";
    session->session_ = control.session();
    session->events_.emplace(session->connector_, control.session());
    if (session->events_->open(deadline)) return session;
    // Within the same deadline, so that open blocks no longer.
    session->close(deadline);
    return "the service gives no events";
  } catch (const std::exception& failure) {
    return failure.what();
  }
}

EventPortManager::Session::~Session() { close(); }

void EventPortManager::Session::close(const Deadline& deadline) {
  const std::lock_guard guard(mutex_);
  closed_ = true;
  if (channels_ && channels_->control.session() != 0) {
    channels_->control.ask<wire::Result>(wire::Goodbye{channels_->control.session()}, deadline);
  }
  channels_.reset();
  events_.reset();
  session_ = 0;
}

EventResult EventPortManager::Session::receive(int milliseconds) {
  if (events_ && events_->dispatching()) return EvtRes_DoNothing;
  const Deadline deadline{std::chrono::milliseconds(milliseconds)};
  const auto take = [this](std::uint32_t eventPort, std::string_view port, std::span<const std::uint8_t> event) {
    return passOn(eventPort, port, event);
  };
  const std::uint64_t session = session_;
  if (events_ && events_->session() != session) {
    // Events that arrived before the service was lost are still delivered.
    if (events_->receive(take, Deadline(RestTime))) return EvtRes_Success;
    events_.reset();
  }
  if (session == 0) {
    waitForService(deadline);
    return EvtRes_DoNothing;
  }
  if (tapsAreMissing_) tapMissing();
  if (lossIsUntold_) tellLostLinks();
  lookForArrivals();
  followGraph();
  if (!events_ && !openEvents(session)) return EvtRes_DoNothing;
  if (events_->receive(take, deadline)) return EvtRes_Success;
  if (events_->lost()) {
    const std::lock_guard guard(mutex_);
    if (session_ == session) lose();
  }
  return EvtRes_DoNothing;
}

std::optional<device::Status> EventPortManager::Session::tap(std::uint32_t port, const std::string& name,
                                                             std::uint32_t holderBytes) {
  const Deadline deadline(channel::AnswerTime);
  const std::lock_guard guard(mutex_);
  const auto status = request(
      [&](std::uint64_t session) {
        return wire::Tap{session, port, holderBytes, name};
      },
      deadline);
  if (status == device::Status::Ok) taps_.add(port, name, holderBytes);
  // A late service may still make the tap, so withdraw it.
  if (!status && channels_ && !taps_.contains(port, name)) {
    channels_->control.tell(wire::Untap{channels_->control.session(), port, name});
  }
  return status;
}

std::optional<device::Status> EventPortManager::Session::untap(std::uint32_t port, const std::string& name) {
  const Deadline deadline(channel::AnswerTime);
  const std::lock_guard guard(mutex_);
  taps_.remove(port, name);
  const auto status = request([&](std::uint64_t session) { return wire::Untap{session, port, name}; }, deadline);
  if (!status && channels_) channels_->control.tell(wire::Untap{channels_->control.session(), port, name});
  return status;
}

std::optional<device::Status> EventPortManager::Session::untapAll(std::uint32_t port) {
  const Deadline deadline(channel::AnswerTime);
  const std::lock_guard guard(mutex_);
  taps_.removeAll(port);
  const auto status = request([&](std::uint64_t session) { return wire::UntapAll{session, port}; }, deadline);
  if (!status && channels_) channels_->control.tell(wire::UntapAll{channels_->control.session(), port});
  return status;
}

std::optional<device::Status> EventPortManager::Session::request(
    const std::function<wire::Body(std::uint64_t session)>& message, const Deadline& deadline) {
  if (!attached() || silent()) return std::nullopt;
  const auto result = channels_->control.ask<wire::Result>(message(channels_->control.session()), deadline);
  if (!result) noticeLoss(deadline);
  return result ? std::optional(result->status) : std::nullopt;
}

bool EventPortManager::Session::send(std::uint32_t port, std::uint16_t group, std::span<const std::uint8_t> bytes) {
  const Deadline deadline(channel::AnswerTime);
  const std::lock_guard guard(mutex_);
  if (!channels_) return false;
  const bool sent = channels_->control.send(port, group, bytes);
  if (!sent) noticeLoss(deadline);
  return sent;
}

std::optional<EventPortManager::Session::Device> EventPortManager::Session::device() {
  const Deadline deadline(channel::AnswerTime);
  const std::lock_guard guard(mutex_);
  if (!attached() || silent()) return std::nullopt;
  const std::uint64_t number = channels_->control.session();
  auto topology = channels_->control.ask<wire::Topology>(wire::AskTopology{number}, deadline);
  if (topology) {
    keepTopology(*topology);
    return Device{number, deviceVersion_, std::move(*topology)};
  }
  noticeLoss(deadline);
  return std::nullopt;
}

EventPortManager::Session::Device EventPortManager::Session::lastDevice() {
  const std::lock_guard guard(mutex_);
  return {topologySession_, deviceVersion_, topology_};
}

void EventPortManager::Session::keepTopology(wire::Topology topology) {
  const std::uint64_t number = channels_->control.session();
  if (number == topologySession_ && topology == topology_) return;
  topology_ = std::move(topology);
  topologySession_ = number;
  ++deviceVersion_;
}

bool EventPortManager::Session::attached() {
  if (closed_ || channels_) return !closed_;
  if (std::chrono::steady_clock::now() < nextLook_) return false;
  if (connector_.whyUnreachable() == 0 && attach()) return true;
  nextLook_ = std::chrono::steady_clock::now() + LookInterval;
  return false;
}

bool EventPortManager::Session::silent() const { return std::chrono::steady_clock::now() < nextLook_; }

void EventPortManager::Session::noticeLoss(const Deadline& deadline) {
  if (!channels_) return;
  if (channels_->control.lost()) return lose();
  if (deadline.passed()) nextLook_ = std::chrono::steady_clock::now() + SilenceTime;
}

void EventPortManager::Session::lose() {
  if (!connector_.mayReturn()) return;
  channels_.reset();
  mirrorValid_ = false;
  if (std::exchange(mirrorKnown_, false)) carried_.keep(mirror_, topology_);
  session_ = 0;
  nextLook_ = std::chrono::steady_clock::now();
  report(address_, "the service has gone");
}

bool EventPortManager::Session::attach() {
  try {
    auto& control = channels_.emplace(connector_).control;
    bool answered = control.greet(program_invocation_short_name, Deadline(AttachTime));
    std::size_t tapped = 0;
    for (channel::TapList::Entry* const tap : taps_.inOrder()) {
      if (!answered) break;
      const auto result = control.ask<wire::Result>(toTap(control.session(), *tap), Deadline(AttachTime));
      answered = result.has_value();
      tap->second.isMissing = !answered || result->status != device::Status::Ok;
      if (!tap->second.isMissing) ++tapped;
    }
    if (answered) {
      session_ = control.session();
      tapsAreMissing_ = tapped < taps_.size();
      report(address_, returnText(tapped, taps_.size()));
      reportLostLinks();
      isBack_ = true;
      return true;
    }
  } catch (const std::exception&) {
    // The system gives no socket; perhaps next time.
  }
  channels_.reset();
  return false;
}

bool EventPortManager::Session::openEvents(std::uint64_t session) {
  try {
    events_.emplace(connector_, session);
    if (events_->open(Deadline(AttachTime))) return true;
  } catch (const std::exception&) {
    // As above.
  }
  events_.reset();
  const std::lock_guard guard(mutex_);
  if (session_ == session) lose();
  return false;
}

bool EventPortManager::Session::passOn(std::uint32_t eventPort, std::string_view port,
                                       std::span<const std::uint8_t> event) {
  // The port may have been removed meanwhile.
  EventPort* to = ports_.find(eventPort);
  const auto header = wire::readEventHeader(event);
  if (to == nullptr || !header) return false;
  std::array<char, device::MaxNameBytes + 1> name{};
  std::ranges::copy(port, name.begin());
  MemoryHolder data(event);
  to->receiveMain(name.data(), header->type, &data, nullptr);
  return true;
}

void EventPortManager::Session::waitForService(const Deadline& deadline) {
  {
    const std::lock_guard guard(mutex_);
    if (attached()) return;
  }
  poll(nullptr, 0, static_cast<int>(std::min(deadline.left(), LookInterval).count()));
}

void EventPortManager::Session::tapMissing() {
  const std::lock_guard guard(mutex_);
  const auto now = std::chrono::steady_clock::now();
  if (!channels_ || silent() || now < nextTapLook_) return;
  nextTapLook_ = now + TapLookInterval;
  const Deadline deadline(AttachTime);
  const auto taps = taps_.inOrder();
  const std::size_t first = nextMissing_;
  std::size_t tried = 0;
  std::size_t tapped = 0;
  for (std::size_t i = 0; i < taps.size() && tried < TapsAtOnce; ++i) {
    channel::TapList::Entry& tap = *taps[(first + i) % taps.size()];
    nextMissing_ = first + i + 1;
    if (!tap.second.isMissing) continue;
    ++tried;
    const auto result = channels_->control.ask<wire::Result>(toTap(channels_->control.session(), tap), deadline);
    if (!result) {
      // Not marked silent: other requests have a longer timeout.
      if (channels_->control.lost()) lose();
      break;
    }
    tap.second.isMissing = result->status != device::Status::Ok;
    if (!tap.second.isMissing) ++tapped;
  }
  tapsAreMissing_ = std::ranges::any_of(taps, [](const auto* tap) { return tap->second.isMissing; });
  if (tapped > 0) report(address_, tapsText(tapped));
}

}  // namespace EvtSrv
