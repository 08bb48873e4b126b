// The events that wait for one client.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/device/port.h"
#include "platform/service/client_id.h"
#include "platform/service/fifo.h"
#include "platform/service/losses.h"

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

  // limit: in bytes() of stored data, both records and bookkeeping.
  explicit TapQueue(std::size_t limit);

  // A message passed port, which is called name and which eventPort taps. holderBytes: the largest event that several
  // records may share.
  void add(EventPortId eventPort, device::PortId port, std::string_view name, std::uint32_t holderBytes,
           const device::Message& message, device::Time now);

  // A record like that of add is dropped and counted, because the service has no memory for it.
  void lose();

  // Messages were lost before reaching the service, and before the next record. count: how many, 0 if unknown.
  // Known and unknown losses stay separate, so that the count stays exact.
  void addLossBefore(std::uint64_t count);

  // Moves events to the end of out, oldest first, as entries of a wire::Events message: as many as fit into maxBytes,
  // but at least one if any waits. A port keeps the name that it had when the message came. Returns the number of bytes
  // appended.
  std::size_t take(std::size_t maxBytes, std::vector<std::uint8_t>& out);

  // Drops the oldest events until memory() is smaller by at least this, or nothing but losses waits. The records become
  // a loss in front of what remains, and count as lost, no longer as accepted. Takes up to about 1 ms a MiB.
  void dropOldest(std::size_t memory);

  bool empty() const { return entries_.empty() && newest_.kinds() == 0; }

  // True if there is something that dropOldest can drop.
  bool hasEvents() const { return !entries_.empty(); }

  // Stored bytes, without the ports' names (each is stored once); never above the limit.
  std::size_t bytes() const { return records_.size() + entries_.size() * sizeof(Entry); }

  // Memory that the allocator spends on what waits, with names and all bookkeeping; 0 if nothing waits. At most the
  // double of bytes(), and 16 KiB four times and some 250 bytes for each port that waiting events come from.
  std::size_t memory() const { return records_.memory() + entries_.memory() + originMemory_; }

  // Records accepted and dropped in total.
  std::uint64_t accepted() const { return accepted_; }
  std::uint64_t lost() const { return lost_; }

 private:
  // A port that waiting events come from.
  struct Origin {
    std::string name{};
    std::size_t entries = 0;
  };
  using Origins = std::map<device::PortId, Origin>;

  // An event or a loss. The events' records stand in records_ in the order of the entries.
  struct Entry {
    std::uint64_t lostOrTime = 0;           // of a loss: how many; of an event: the time of its first record
    Origins::value_type* origin = nullptr;  // null for a loss
    EventPortId eventPort{};
    std::uint32_t recordBytes = 0;  // of a loss: its kind
  };
  static_assert(sizeof(Entry) == 24);
  enum LossKind : std::uint32_t { Loss, LossBefore };

  bool mayJoin(const Entry& entry, EventPortId eventPort, device::PortId port, std::uint32_t holderBytes,
               std::size_t recordBytes, device::Time now) const;
  Origins::value_type* enterOrigin(device::PortId port, std::string_view name);
  void leaveOrigin(Origins::value_type* origin);
  static std::size_t memoryOf(const Origin& origin);
  static Losses lossesOf(const Entry& entry);
  void enterLosses();
  void dropFront(std::vector<std::uint8_t>& records);

  std::size_t limit_;
  Fifo<Entry> entries_;
  Fifo<std::uint8_t> records_;
  Origins origins_;
  std::size_t originMemory_ = 0;
  Losses oldest_;  // before the first entry
  Losses newest_;  // since the last accepted record
  std::uint64_t accepted_ = 0;
  std::uint64_t lost_ = 0;
  std::uint32_t sequence_ = 0;
};

}  // namespace service
