// Events on their way to a client: the records, the 20-byte header before them, and the entries of an Events message.
// docs/protocol.md describes the bytes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace wire {

inline constexpr std::size_t EventHeaderBytes = 20;
inline constexpr std::size_t RecordOverheadBytes = 6;  // length (u32) and group id (u16)
inline constexpr std::uint16_t DebugReceiveEvent = 1;

// The header before an event's records.
struct EventHeader {
  bool bigEndian = false;  // byte order of the sender
  std::uint16_t type = DebugReceiveEvent;
  std::uint32_t size = 0;      // header and records, in bytes
  std::uint32_t sequence = 0;  // counts the events of one client from 1 on; wraps to 0 after 2^32 - 1
  std::uint64_t time = 0;      // of the first record, nanoseconds, monotonic
};

// Always writes little-endian, as this library sends; ignores header.bigEndian.
void writeEventHeader(const EventHeader& header, std::span<std::uint8_t, EventHeaderBytes> out);

// Reads the header of an event of either byte order. nullopt if the event is shorter than a header, or its size differs
// from the size in the header.
std::optional<EventHeader> readEventHeader(std::span<const std::uint8_t> event);

// The byte order of an event's sender, also of an event that has only its first byte.
bool isBigEndian(std::span<const std::uint8_t> event);

// Returns the bytes before a record's message: length and group id. messageBytes + 2 must fit into 32 bits.
std::array<std::uint8_t, RecordOverheadBytes> recordFront(std::uint16_t group, std::size_t messageBytes);

// Appends one record: length, group id, message bytes.
void appendRecord(std::uint16_t group, std::span<const std::uint8_t> message, std::vector<std::uint8_t>& out);

// One record. The bytes belong to the event.
struct Record {
  std::uint16_t group = 0;
  std::span<const std::uint8_t> message;  // at least one byte
};

// Reads the records of an event one after another.
class RecordReader {
 public:
  // records: what follows an event's header. bigEndian: the sender's byte order. Views stay valid as long as the bytes.
  RecordReader(std::span<const std::uint8_t> records, bool bigEndian) : rest_(records), bigEndian_(bigEndian) {}

  // Returns the next record. nullopt at the end, and from a malformed record on (ok() is then false).
  std::optional<Record> next();
  bool ok() const { return ok_; }

 private:
  std::span<const std::uint8_t> rest_;
  bool bigEndian_;
  bool ok_ = true;
};

// An entry of an Events message: an event for an event port, or a loss at this place.
struct EventEntry {
  std::uint32_t eventPort = 0;
  std::string_view port{};                // name of the tapped device port
  std::span<const std::uint8_t> event{};  // header and records
  std::uint64_t lost = 0;                 // above 0: no event; this many records were dropped
  // Set: no event; this many messages were lost before reaching the service, 0 if the number is unknown.
  std::optional<std::uint64_t> lostBefore{};
};

// Sizes of entries in an Events message: a loss, and an event with recordBytes bytes of records.
inline constexpr std::size_t LossEntryBytes = 9;
constexpr std::size_t eventEntryBytes(std::string_view port, std::size_t recordBytes) {
  return 11 + port.size() + EventHeaderBytes + recordBytes;
}

// Appends an entry. Its name must have at most MaxNameBytes bytes, and its event at least a header.
void appendEventEntry(const EventEntry& entry, std::vector<std::uint8_t>& out);

// Appends everything before an entry's records: its front and the event's header, little-endian. The caller then
// appends header.size - EventHeaderBytes bytes of records.
void beginEventEntry(std::uint32_t eventPort, std::string_view port, const EventHeader& header,
                     std::vector<std::uint8_t>& out);

// Reads the entries of an Events message one after another. Views stay valid as long as the bytes.
class EventReader {
 public:
  explicit EventReader(std::span<const std::uint8_t> entries) : rest_(entries) {}

  // Returns the next entry. nullopt at the end, and from a malformed entry on (ok() is then false).
  std::optional<EventEntry> next();
  bool ok() const { return ok_; }

 private:
  std::span<const std::uint8_t> rest_;
  bool ok_ = true;
};

}  // namespace wire
