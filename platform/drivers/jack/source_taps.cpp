#include "platform/drivers/jack/source_taps.h"

#include <jack/jack.h>

#include <cerrno>
#include <iterator>
#include <vector>

#include "platform/system/earliest.h"

namespace drivers::jack {

namespace {

// The result of a request that JACK has refused: the source does not exist, or its client is not active.
constexpr int NotConnected = -2;

// On the server's thread. Connects a port to a source, from one of the next periods on. Does not wait for that: with
// many taps, these periods would add up.
int connectTap(Client& client, std::uint32_t number, const std::string& source) {
  const jack_port_t* port = client.input().port(number);
  if (port == nullptr) return NotConnected;
  const int result = jack_connect(client.handle(), source.c_str(), jack_port_name(port));
  return result == 0 || result == EEXIST ? 0 : NotConnected;
}

}  // namespace

std::optional<device::Status> SourceTaps::setUsed(Client* client, const PortDirectory& ports, device::PortId source,
                                                  bool used, bool silent, device::Time now) {
  if (!used) {
    used_.erase(source);
    skipped_.forget(source);
    if (client != nullptr) untap(*client, source);
    return device::Status::Ok;
  }
  used_.insert(source);
  const auto name = ports.name(source);
  if (client == nullptr || !name) return device::Status::Ok;
  Tap& made = tap(*client, *name, source, ServerThread::Turn::SomebodyWaits);
  if (silent) return device::Status::Refused;
  made.deadline = now + ServerPatience;
  return std::nullopt;
}

void SourceTaps::restore(Client& client, const PortDirectory& ports) {
  for (const device::PortId source : used_) {
    if (const auto name = ports.name(source)) {
      tap(client, *name, source, ServerThread::Turn::Last);
    } else {
      untap(client, source);
    }
  }
}

std::optional<device::Time> SourceTaps::advance(Client& client, device::DriverEvents& events, device::Time now) {
  std::optional<device::Time> next;
  for (auto at = asked_.begin(); at != asked_.end();) {
    Tap& tap = taps_.at(*at);
    const auto result = tap.request ? server_.result(tap.request) : std::optional(0);
    if (result && isMade(client, *at, *result, events, now)) {
      at = asked_.erase(at);
      continue;
    }
    if (tap.deadline && now >= *tap.deadline) {
      // The request remains: the source stays used until the service says otherwise.
      tap.deadline.reset();
      tooLong_ = true;
      events.used(*at, device::Status::Refused, now);
    }
    if (tap.deadline) sys::keepEarlier(next, *tap.deadline);
    ++at;
  }
  if (asked_.empty()) noteMissing(events);
  return next;
}

// Returns false if another request follows, or the connection is not in effect yet.
bool SourceTaps::isMade(Client& client, device::PortId source, int result, device::DriverEvents& events,
                        device::Time now) {
  Tap& tap = taps_.at(source);
  if (result == NoPort) {
    ++missing_;
    sources_.erase(tap.number);
    taps_.erase(source);
    events.used(source, device::Status::Refused, now);
    return true;
  }
  tap.isNew = false;
  // A connection that breaks is made again anyway.
  if (const auto name = std::exchange(tap.next, std::nullopt); name && !tap.isConnected) {
    tap.request =
        server_.ask([&client, number = tap.number, name = *name] { return connectTap(client, number, name); });
    return false;
  }
  tap.request.reset();
  if (result != NotConnected && !tap.isConnected) return false;
  tap.deadline.reset();
  events.used(source, device::Status::Ok, now);
  return true;
}

void SourceTaps::noteMissing(device::DriverEvents& events) {
  if (missing_ == 0) return;
  events.noted("JACK has no port left to receive from " + std::to_string(missing_) +
               (missing_ == 1 ? " source" : " sources"));
  missing_ = 0;
}

void SourceTaps::clientGone(device::DriverEvents& events, device::Time now) {
  for (auto& [source, tap] : taps_) {
    tap.reader.gap(0);
    if (const auto lost = tap.reader.takeLost(); lost > 0) events.lost(source, lost, now);
  }
  taps_.clear();
  sources_.clear();
  asked_.clear();
  missing_ = 0;
  tooLong_ = false;
}

void SourceTaps::skipped() {
  for (const auto& [source, tap] : taps_) skipped_.add(source);
}

std::optional<device::Time> SourceTaps::tellSkipped(device::DriverEvents& events, device::Time now) {
  for (const device::PortId source : skipped_.take(now)) events.lost(source, 0, now);
  return skipped_.next();
}

bool SourceTaps::take(Client& client, device::DriverEvents& events, device::Time now, std::size_t bytes) {
  const auto event = [&](std::uint32_t number, std::span<const std::uint8_t> arrived) {
    const auto found = sources_.find(number);
    if (found == sources_.end()) return;
    const device::PortId source = found->second;
    SourceReader& reader = taps_.at(source).reader;
    // A broken message ends where the next one begins, so it is reported first.
    const auto tellLost = [&] {
      if (const auto lost = reader.takeLost(); lost > 0) events.lost(source, lost, now);
    };
    reader.read(arrived, [&](const device::Message& message) {
      tellLost();
      events.emitted(source, message, now);
    });
    tellLost();
  };
  const auto gap = [&](std::uint32_t number, std::uint64_t lost) {
    const auto found = sources_.find(number);
    if (found == sources_.end()) return;
    SourceReader& reader = taps_.at(found->second).reader;
    reader.gap(lost);
    if (const auto all = reader.takeLost(); all > 0) events.lost(found->second, all, now);
  };
  const auto connection = [&](std::uint32_t number, Input::Connection changed) {
    const auto found = sources_.find(number);
    if (found == sources_.end()) return;
    Tap& tap = taps_.at(found->second);
    tap.isConnected = changed.isThere;
    if (!changed.wasBroken) return;
    // Another client had disconnected it. A message that was cut is part of the loss.
    tap.reader.gap(0);
    tap.reader.takeLost();
    events.lost(found->second, 0, now);
  };
  return client.input().take(bytes, {event, gap, connection});
}

SourceTaps::Tap& SourceTaps::tap(Client& client, const std::string& name, device::PortId source,
                                 ServerThread::Turn turn) {
  const auto [found, isNew] = taps_.try_emplace(source);
  Tap& tap = found->second;
  if (isNew) {
    tap.number = ++lastNumber_;
    tap.isNew = true;
    sources_.emplace(tap.number, source);
  }
  // Only who waits for the answer may pull a request forward.
  const bool stays = tap.request && (turn == ServerThread::Turn::Last ||
                                     server_.withdraw(tap.request) != ServerThread::Withdrawn::Never);
  if (stays) {
    // It may have found that the source does not exist.
    tap.next = name;
  } else {
    tap.next.reset();
    // A connection that exists already stays.
    tap.request = server_.ask(
        [&client, number = tap.number, name, opens = tap.isNew] {
          if (opens && !client.input().open(client.handle(), number)) return NoPort;
          return connectTap(client, number, name);
        },
        turn);
  }
  asked_.insert(source);
  return tap;
}

void SourceTaps::untap(Client& client, device::PortId source) {
  const auto found = taps_.find(source);
  if (found == taps_.end()) return;
  const Tap& tap = found->second;
  const bool never = tap.request && server_.withdraw(tap.request) == ServerThread::Withdrawn::Never;
  if (!never || !tap.isNew) {
    // Before ports are made that may need the room.
    server_.ask(
        [&client, number = tap.number] {
          client.input().close(client.handle(), number);
          return 0;
        },
        ServerThread::Turn::SomebodyWaits);
  }
  sources_.erase(tap.number);
  asked_.erase(source);
  taps_.erase(found);
}

}  // namespace drivers::jack
