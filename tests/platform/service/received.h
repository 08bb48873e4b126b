// What a client makes of the entries it gets, as text.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/wire/events.h"
#include "tests/platform/service/device.h"

namespace service {

// One record of an event, or a loss.
struct Received {
  std::uint32_t eventPort = 0;
  std::string port{};
  std::uint32_t sequence = 0;
  std::uint64_t time = 0;
  std::uint16_t group = 0;
  Bytes message{};
  std::uint64_t lost = 0;
  std::optional<std::uint64_t> lostBefore{};

  // "1 G0Out1: 90 40", "lost 3", or "lost before 3".
  std::string text() const {
    if (lostBefore) return "lost before " + std::to_string(*lostBefore);
    if (lost > 0) return "lost " + std::to_string(lost);
    return std::to_string(eventPort) + ' ' + port + ':' + hexOf(message);
  }
};

inline std::uint32_t numberAt(std::span<const std::uint8_t> bytes, std::size_t at, std::size_t size) {
  std::uint32_t value = 0;
  for (std::size_t i = size; i-- > 0;) value = value << 8U | bytes[at + i];
  return value;
}

// The records of entries in order; "malformed" as the port of one more when they cannot be read to the end.
inline std::vector<Received> readEntries(std::span<const std::uint8_t> entries) {
  std::vector<Received> all;
  wire::EventReader reader(entries);
  while (const auto entry = reader.next()) {
    Received received{.eventPort = entry->eventPort,
                      .port = std::string(entry->port),
                      .lost = entry->lost,
                      .lostBefore = entry->lostBefore};
    if (entry->lost > 0 || entry->lostBefore) {
      all.push_back(received);
      continue;
    }
    const auto header = wire::readEventHeader(entry->event);
    if (!header || header->bigEndian || header->type != wire::DebugReceiveEvent) {
      all.push_back({.port = "malformed"});
      return all;
    }
    received.sequence = header->sequence;
    received.time = header->time;
    for (auto rest = entry->event.subspan(wire::EventHeaderBytes); !rest.empty();) {
      const std::size_t length = numberAt(rest, 0, 4);
      received.group = static_cast<std::uint16_t>(numberAt(rest, 4, 2));
      const auto bytes = rest.subspan(wire::RecordOverheadBytes, length - 2);
      received.message.assign(bytes.begin(), bytes.end());
      all.push_back(received);
      rest = rest.subspan(4 + length);
    }
  }
  if (!reader.ok()) all.push_back({.port = "malformed"});
  return all;
}

using Texts = std::vector<std::string>;

inline Texts textsOf(const std::vector<Received>& received) {
  Texts texts;
  for (const Received& one : received) texts.push_back(one.text());
  return texts;
}

}  // namespace service
