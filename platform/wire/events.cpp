#include "platform/wire/events.h"

#include <algorithm>
#include <cassert>

#include "platform/wire/bytes.h"
#include "platform/wire/messages.h"

namespace wire {
namespace {

constexpr std::uint8_t EventKind = 1;
constexpr std::uint8_t LossKind = 2;
constexpr std::uint8_t LossBeforeKind = 3;
constexpr std::uint8_t BigEndianFlag = 1;

void appendHeader(const EventHeader& header, ByteWriter& to) {
  to.number<std::uint8_t>(0);  // little-endian
  to.number<std::uint8_t>(0);  // reserved
  to.number(header.type);
  to.number(header.size);
  to.number(header.sequence);
  to.number(header.time);
}

// Appends everything in an entry before its event.
void appendEntryFront(std::uint32_t eventPort, std::string_view port, std::size_t eventBytes, ByteWriter& to) {
  assert(port.size() <= device::MaxNameBytes);
  to.number(EventKind);
  to.number(eventPort);
  to.number(static_cast<std::uint16_t>(port.size()));
  to.characters(port);
  to.number(static_cast<std::uint32_t>(eventBytes));
}

}  // namespace

void writeEventHeader(const EventHeader& header, std::span<std::uint8_t, EventHeaderBytes> out) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(EventHeaderBytes);
  ByteWriter to(bytes);
  appendHeader(header, to);
  assert(bytes.size() == EventHeaderBytes);
  std::ranges::copy(bytes, out.begin());
}

bool isBigEndian(std::span<const std::uint8_t> event) { return !event.empty() && event[0] == BigEndianFlag; }

std::optional<EventHeader> readEventHeader(std::span<const std::uint8_t> event) {
  if (event.size() < EventHeaderBytes) return std::nullopt;
  ByteReader from(event);
  EventHeader header;
  header.bigEndian = isBigEndian(event);
  from.number<std::uint16_t>();
  header.type = from.number<std::uint16_t>(header.bigEndian);
  header.size = from.number<std::uint32_t>(header.bigEndian);
  header.sequence = from.number<std::uint32_t>(header.bigEndian);
  header.time = from.number<std::uint64_t>(header.bigEndian);
  if (header.size != event.size()) return std::nullopt;
  return header;
}

std::array<std::uint8_t, RecordOverheadBytes> recordFront(std::uint16_t group, std::size_t messageBytes) {
  const std::size_t length = messageBytes + sizeof group;
  return {static_cast<std::uint8_t>(length),        static_cast<std::uint8_t>(length >> 8U),
          static_cast<std::uint8_t>(length >> 16U), static_cast<std::uint8_t>(length >> 24U),
          static_cast<std::uint8_t>(group),         static_cast<std::uint8_t>(group >> 8U)};
}

void appendRecord(std::uint16_t group, std::span<const std::uint8_t> message, std::vector<std::uint8_t>& out) {
  ByteWriter to(out);
  to.bytes(recordFront(group, message.size()));
  to.bytes(message);
}

std::optional<Record> RecordReader::next() {
  if (!ok_ || rest_.empty()) return std::nullopt;
  ByteReader from(rest_);
  const auto length = from.number<std::uint32_t>(bigEndian_);
  Record record;
  record.group = from.number<std::uint16_t>(bigEndian_);
  if (length <= sizeof record.group) from.fail();
  record.message = from.bytes(length - sizeof record.group);
  ok_ = from.ok();
  rest_ = from.rest();
  return ok_ ? std::optional(record) : std::nullopt;
}

void appendEventEntry(const EventEntry& entry, std::vector<std::uint8_t>& out) {
  ByteWriter to(out);
  if (entry.lost > 0) {
    to.number(LossKind);
    to.number(entry.lost);
    return;
  }
  if (entry.lostBefore) {
    to.number(LossBeforeKind);
    to.number(*entry.lostBefore);
    return;
  }
  appendEntryFront(entry.eventPort, entry.port, entry.event.size(), to);
  to.bytes(entry.event);
}

void beginEventEntry(std::uint32_t eventPort, std::string_view port, const EventHeader& header,
                     std::vector<std::uint8_t>& out) {
  ByteWriter to(out);
  appendEntryFront(eventPort, port, header.size, to);
  appendHeader(header, to);
}

std::optional<EventEntry> EventReader::next() {
  if (!ok_ || rest_.empty()) return std::nullopt;
  ByteReader from(rest_);
  EventEntry entry;
  const auto kind = from.number<std::uint8_t>();
  if (kind == EventKind) {
    entry.eventPort = from.number<std::uint32_t>();
    const std::size_t nameBytes = from.number<std::uint16_t>();
    if (nameBytes > device::MaxNameBytes) from.fail();
    entry.port = from.characters(nameBytes);
    const std::size_t eventBytes = from.number<std::uint32_t>();
    if (eventBytes < EventHeaderBytes) from.fail();
    entry.event = from.bytes(eventBytes);
  } else if (kind == LossKind) {
    entry.lost = from.number<std::uint64_t>();
    if (entry.lost == 0) from.fail();
  } else if (kind == LossBeforeKind) {
    entry.lostBefore = from.number<std::uint64_t>();
  } else {
    from.fail();
  }
  ok_ = from.ok();
  if (!ok_) return std::nullopt;
  rest_ = from.rest();
  return entry;
}

}  // namespace wire
