// Events on their way to a client: the records, the 20-byte header in front of them, and the entries of an Events
// message. docs/protocol.md describes the bytes.
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

// What stands in front of an event's records.
struct EventHeader {
  bool bigEndian = false;  // byte order of the sender
  std::uint16_t type = DebugReceiveEvent;
  std::uint32_t size = 0;      // header and records, in bytes
  std::uint32_t sequence = 0;  // counts the events of one client from 1 on, and begins again at 0 after 2^32 - 1
  std::uint64_t time = 0;      // of the first record, nanoseconds, monotonic
};

// Little-endian, as this library sends, whatever header.bigEndian says.
void writeEventHeader(const EventHeader& header, std::span<std::uint8_t, EventHeaderBytes> out);

// The header of an event of either byte order; nothing when the event is shorter than a header, or not as long as
// its header says.
std::optional<EventHeader> readEventHeader(std::span<const std::uint8_t> event);

// What stands in front of a record's message bytes: length and group id. messageBytes fits 32 bits with room for 2.
std::array<std::uint8_t, RecordOverheadBytes> recordFront(std::uint16_t group, std::size_t messageBytes);

// Appends one record: length, group id, message bytes.
void appendRecord(std::uint16_t group, std::span<const std::uint8_t> message, std::vector<std::uint8_t>& out);

// An entry of an Events message: an event for an event port, or the news that something is missing at this place.
struct EventEntry {
  std::uint32_t eventPort = 0;
  std::string_view port{};                // name of the tapped device port
  std::span<const std::uint8_t> event{};  // header and records
  std::uint64_t lost = 0;                 // above 0: no event; so many records were dropped
  // There: no event; so many messages were lost before they came to the service, 0 when nobody knows how many.
  std::optional<std::uint64_t> lostBefore{};
};

// What entries take up in an Events message: an event with so many bytes of records, and a loss.
inline constexpr std::size_t LossEntryBytes = 9;
constexpr std::size_t eventEntryBytes(std::string_view port, std::size_t recordBytes) {
  return 11 + port.size() + EventHeaderBytes + recordBytes;
}

// Appends an entry, whose name has at most MaxNameBytes and whose event at least a header.
void appendEventEntry(const EventEntry& entry, std::vector<std::uint8_t>& out);

// Appends the front of an entry and its event's header, little-endian. header.size - EventHeaderBytes bytes of records
// are for the caller to append.
void beginEventEntry(std::uint32_t eventPort, std::string_view port, const EventHeader& header,
                     std::vector<std::uint8_t>& out);

// Reads the entries of an Events message one after another. Views stay valid as long as the bytes.
class EventReader {
 public:
  explicit EventReader(std::span<const std::uint8_t> entries) : rest_(entries) {}

  // The next entry; nothing at the end, and nothing from a malformed entry on (then ok() is false).
  std::optional<EventEntry> next();
  bool ok() const { return ok_; }

 private:
  std::span<const std::uint8_t> rest_;
  bool ok_ = true;
};

}  // namespace wire
