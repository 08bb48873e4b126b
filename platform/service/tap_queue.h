// The events that wait for one client.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/device/port.h"
#include "platform/service/byte_fifo.h"
#include "platform/service/client_id.h"
#include "platform/service/hash.h"

namespace service {

// The events that wait for one client, in order and limited in bytes. A record that would exceed the limit is dropped
// and counted. The count becomes an entry of its own exactly where the records are missing: before the next accepted
// record, or after everything that waited has been taken. Messages lost before reaching the service are entered
// likewise.
//
// Consecutive records of one tap share an event while it fits the tap's holder, and for SharingTime after its first
// record, so that the event's time stamp stays true for all of them. The time is long enough that bookkeeping stays
// small compared to the records of a full DIN port, also with running status.
class TapQueue {
 public:
  static constexpr device::Time SharingTime = std::chrono::milliseconds(10);

  // limit: in bytes of stored data, both records and bookkeeping.
  explicit TapQueue(std::size_t limit);

  // A message passed port, which is called name and which eventPort taps. holderBytes: the largest event that several
  // records may share.
  void add(EventPortId eventPort, device::PortId port, std::string_view name, std::uint32_t holderBytes,
           const device::Message& message, device::Time now);

  // Messages were lost before reaching the service, and before the next record. count: how many, 0 if unknown.
  // Known and unknown losses stay separate, so that the count stays exact.
  void addLossBefore(std::uint64_t count);

  // Moves events to the end of out, oldest first, as entries of a wire::Events message: as many as fit into maxBytes,
  // but at least one if any waits. A port keeps the name that it had when the message came. Returns the number of bytes
  // appended.
  std::size_t take(std::size_t maxBytes, std::vector<std::uint8_t>& out);

  bool empty() const { return entries_.empty() && waitingLosses() == 0; }

  // Stored bytes, without the ports' names (each is stored once); never above the limit.
  std::size_t bytes() const { return records_.size() + entries_.size() * sizeof(Entry); }

  // Records accepted and dropped in total.
  std::uint64_t accepted() const { return accepted_; }
  std::uint64_t lost() const { return lost_; }

 private:
  enum class Kind : std::uint8_t { Event, Loss, LossBefore };

  // An event or a loss. The events' records stand in records_ in the order of the entries.
  struct Entry {
    std::uint64_t lostOrTime = 0;  // of a loss: how many; of an event: the time of its first record
    EventPortId eventPort{};
    std::uint32_t recordBytes = 0;  // 0 for a loss
    std::uint32_t origin = 0;       // of an event: an index into origins_
    Kind kind = Kind::Event;
  };

  // A port that waiting events come from.
  struct Origin {
    device::PortId port;
    std::string name;
    std::size_t entries = 0;  // 0: this slot is free
  };

  bool mayJoin(const Entry& entry, EventPortId eventPort, device::PortId port, std::uint32_t holderBytes,
               std::size_t recordBytes, device::Time now) const;
  std::uint32_t enterOrigin(device::PortId port, std::string_view name);
  void leaveOrigin(std::uint32_t index);

  std::size_t waitingLosses() const {
    return (dropped_ > 0 ? 1U : 0U) + (lostBefore_ > 0 ? 1U : 0U) + (lostUncounted_ ? 1U : 0U);
  }
  void enterLosses();

  std::size_t limit_;
  std::deque<Entry> entries_;  // oldest first
  ByteFifo records_;
  std::vector<Origin> origins_;
  std::vector<std::uint32_t> freeOrigins_;
  std::unordered_map<device::PortId, std::uint32_t, PortHash> originOf_;
  std::uint64_t dropped_ = 0;     // since the last accepted record
  std::uint64_t lostBefore_ = 0;  // likewise
  bool lostUncounted_ = false;    // likewise; an unknown number was lost
  std::uint64_t accepted_ = 0;
  std::uint64_t lost_ = 0;
  std::uint32_t sequence_ = 0;
};

}  // namespace service
