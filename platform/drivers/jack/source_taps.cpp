#include "platform/drivers/jack/source_taps.h"

#include <jack/jack.h>

#include <vector>

namespace drivers::jack {

void SourceTaps::setUsed(Client* client, const PortDirectory& ports, device::PortId source, bool used) {
  if (!used) {
    used_.erase(source);
    skipped_.forget(source);
    if (client != nullptr) untap(*client, source);
    return;
  }
  used_.insert(source);
  const auto name = ports.name(source);
  if (client == nullptr || !name || !tap(*client, *name, source)) return;
  client->awaitConnection(client->input().port(taps_.at(source).number));
}

std::optional<std::string> SourceTaps::restore(Client& client, const PortDirectory& ports) {
  std::size_t without = 0;
  for (const device::PortId source : used_) {
    if (const auto name = ports.name(source)) {
      if (!tap(client, *name, source)) ++without;
    } else {
      untap(client, source);
    }
  }
  if (without == 0) return std::nullopt;
  return "JACK has no port left to receive from " + std::to_string(without) + (without == 1 ? " source" : " sources");
}

void SourceTaps::clientGone(device::DriverEvents& events, device::Time now) {
  for (auto& [source, tap] : taps_) {
    tap.reader.gap(0);
    if (const auto lost = tap.reader.takeLost(); lost > 0) events.lost(source, lost, now);
  }
  taps_.clear();
  sources_.clear();
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
  return client.input().take(bytes, event, gap);
}

bool SourceTaps::tap(Client& client, const std::string& name, device::PortId source) {
  auto found = taps_.find(source);
  if (found == taps_.end()) {
    const auto number = client.input().open(client.handle());
    if (!number) return false;
    found = taps_.emplace(source, Tap{*number}).first;
    sources_.emplace(*number, source);
  }
  // A connection that exists already stays.
  jack_connect(client.handle(), name.c_str(), jack_port_name(client.input().port(found->second.number)));
  return true;
}

void SourceTaps::untap(Client& client, device::PortId source) {
  const auto found = taps_.find(source);
  if (found == taps_.end()) return;
  client.input().close(client.handle(), found->second.number);
  sources_.erase(found->second.number);
  taps_.erase(found);
}

}  // namespace drivers::jack
