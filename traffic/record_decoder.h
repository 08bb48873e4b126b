// The records of a debug-receive event: copies of MIDI messages, one after another.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "evtsrv.h"

namespace flowscope {

// The sender's byte order, from the first byte of the event: 1 means most significant byte first.
enum class ByteOrder { LittleEndian, BigEndian };
ByteOrder byteOrderOf(const EvtSrv::MemoryHolder& event);

// Return the next unsigned number at the event's cursor; nullopt if fewer bytes are left (the cursor is then at the
// end).
std::optional<std::uint16_t> readWord16(EvtSrv::MemoryHolder& event, ByteOrder order);
std::optional<std::uint32_t> readWord32(EvtSrv::MemoryHolder& event, ByteOrder order);

// One message as it passed a port. The bytes are never empty, and valid as long as the event.
struct Record {
  std::uint16_t group = 0;
  std::span<const std::uint8_t> message;
};

// Reads the records of one event, from its cursor on. The event must outlive the decoder.
class RecordDecoder {
 public:
  explicit RecordDecoder(EvtSrv::MemoryHolder& event) : event_(event), order_(byteOrderOf(event)) {}

  // Returns the next record; nullopt at the end of the event, and from a malformed record on: one whose length does not
  // cover a group and one byte of message, or reaches past the data.
  std::optional<Record> next();

  // False after a malformed record.
  bool ok() const { return ok_; }

 private:
  EvtSrv::MemoryHolder& event_;
  ByteOrder order_;
  bool ok_ = true;
};

}  // namespace flowscope
