#include "platform/drivers/alsa/source_taps.h"

#include <string>

namespace drivers::alsa {

device::Status SourceTaps::setUsed(device::PortId source, bool used, device::DriverEvents& events) {
  if (used) {
    Tap& tap = taps_[source];
    ensure(source, tap, events);
    return tap.refused ? device::Status::Refused : device::Status::Ok;
  }
  const auto found = taps_.find(source);
  if (found == taps_.end()) return device::Status::Ok;
  if (const auto address = found->second.address) {
    input_.client().unsubscribe({*address, input_.port()});
    sources_.erase(*address);
  }
  taps_.erase(found);
  return device::Status::Ok;
}

void SourceTaps::refresh(device::DriverEvents& events, device::Time now) {
  for (auto& [source, tap] : taps_) {
    const bool wasRefused = tap.refused;
    ensure(source, tap, events);
    if (tap.refused != wasRefused) {
      events.used(source, tap.refused ? device::Status::Refused : device::Status::Ok, now);
    }
  }
}

void SourceTaps::ensure(device::PortId source, Tap& tap, device::DriverEvents& events) {
  const auto key = book_.key(source);
  const auto address = key ? std::optional(addressOf(*key)) : std::nullopt;
  if (tap.address && tap.address != address) {
    // Another source may have the address now; a renamed client keeps its address.
    if (const auto taken = sources_.find(*tap.address); taken != sources_.end() && taken->second == source) {
      input_.client().unsubscribe({*tap.address, input_.port()});
      sources_.erase(taken);
    }
    tap.address.reset();
  }
  if (!address) {
    tap.refused = false;
    return;
  }
  const Subscription wanted{*address, input_.port()};
  const int code = input_.client().subscribe(wanted);
  if (code < 0 && !input_.client().stands(wanted)) {
    if (!tap.refused) {
      events.noted("cannot subscribe to \"" + book_.topology().name(source) + "\": " + errorText(code));
    }
    tap.refused = true;
    return;
  }
  // A new subscription does not continue an earlier message.
  if (code == 0) tap.reader.cut();
  tap.refused = false;
  tap.address = address;
  sources_[*address] = source;
}

void SourceTaps::take(const QueuedEvent& event, device::DriverEvents& events, device::Time now) {
  if (event.kind == QueuedEvent::Kind::Overflow) {
    for (auto& [source, tap] : taps_) {
      if (!tap.address) continue;
      tap.reader.cut();
      events.lost(source, 0, now);
    }
    return;
  }
  const auto found = sources_.find(event.source);
  if (found == sources_.end()) return;
  const device::PortId source = found->second;
  SourceReader& reader = taps_.at(source).reader;
  if (event.kind == QueuedEvent::Kind::Lost) {
    if (event.cut) reader.cut();
    // 0 would mean that the number is unknown.
    if (event.lost != 0) events.lost(source, event.lost, now);
  } else {
    reader.read(event, decoder_, [&](const device::Message& message) { events.emitted(source, message, now); });
  }
  if (const auto broken = reader.takeBroken(); broken != 0) events.lost(source, broken, now);
}

}  // namespace drivers::alsa
