// The records of an event.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "evtsrv.h"

namespace client {

// One record. The bytes belong to the event.
struct Record {
  std::uint16_t group = 0;
  std::span<const std::uint8_t> message;  // at least one byte
};

// Reads an event's records in either byte order and moves the event's cursor.
class RecordReader {
 public:
  // event must outlive the reader and contain at least its header.
  explicit RecordReader(EvtSrv::MemoryHolder& event);

  // The next record; nullopt at the end, and from a malformed record on (then ok() is false).
  std::optional<Record> next();
  bool ok() const { return ok_; }

 private:
  template <class Number>
  std::optional<Number> number();

  EvtSrv::MemoryHolder& event_;
  bool bigEndian_;
  bool ok_ = true;
};

}  // namespace client
