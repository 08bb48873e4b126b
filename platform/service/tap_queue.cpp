#include "platform/service/tap_queue.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

#include "platform/wire/events.h"

namespace service {

// Sizes of events travel in 32 bits.
TapQueue::TapQueue(std::size_t limit)
    : limit_(std::min<std::size_t>(limit, std::numeric_limits<std::uint32_t>::max() - wire::EventHeaderBytes)) {}

void TapQueue::add(EventPortId eventPort, device::PortId port, std::string_view name, std::uint32_t holderBytes,
                   const device::Message& message, device::Time now) {
  const std::size_t recordBytes = wire::RecordOverheadBytes + message.bytes.size();
  const bool joins = newest_.kinds() == 0 && !entries_.empty() &&
                     mayJoin(entries_.back(), eventPort, port, holderBytes, recordBytes, now);
  const std::size_t newEntries = joins ? 0 : 1 + newest_.kinds();
  if (bytes() + recordBytes + newEntries * sizeof(Entry) > limit_) {
    lose();
    return;
  }
  enterLosses();
  if (!joins) {
    const auto time = static_cast<std::uint64_t>(now.count());
    entries_.append({.lostOrTime = time, .origin = enterOrigin(port, name), .eventPort = eventPort, .recordBytes = 0});
  }
  ++accepted_;
  entries_.back().recordBytes += static_cast<std::uint32_t>(recordBytes);
  records_.append(wire::recordFront(message.group, message.bytes.size()));
  records_.append(message.bytes);
}

void TapQueue::lose() {
  ++newest_.dropped;
  ++lost_;
}

void TapQueue::addLossBefore(std::uint64_t count) { newest_ += {.before = count, .uncounted = count == 0}; }

void TapQueue::enterLosses() {
  while (const auto loss = newest_.take()) {
    entries_.append(loss->lostBefore ? Entry{.lostOrTime = *loss->lostBefore, .recordBytes = LossBefore}
                                     : Entry{.lostOrTime = loss->lost, .recordBytes = Loss});
  }
}

std::size_t TapQueue::take(std::size_t maxBytes, std::vector<std::uint8_t>& out) {
  const std::size_t start = out.size();
  const auto appended = [&] { return out.size() - start; };
  const auto fits = [&](std::size_t bytes) { return appended() == 0 || appended() + bytes <= maxBytes; };
  for (;;) {
    if (oldest_.kinds() > 0) {
      if (!fits(wire::LossEntryBytes)) break;
      wire::appendEventEntry(*oldest_.take(), out);
      continue;
    }
    if (entries_.empty()) enterLosses();
    if (entries_.empty()) break;
    const Entry entry = entries_.front();
    if (entry.origin == nullptr) {
      if (!fits(wire::LossEntryBytes)) break;
      oldest_ += lossesOf(entry);
      entries_.pop();
      continue;
    }
    const std::string& name = entry.origin->second.name;
    if (!fits(wire::eventEntryBytes(name, entry.recordBytes))) break;
    entries_.pop();
    wire::beginEventEntry(static_cast<std::uint32_t>(entry.eventPort), name,
                          {.size = static_cast<std::uint32_t>(wire::EventHeaderBytes + entry.recordBytes),
                           .sequence = ++sequence_,
                           .time = entry.lostOrTime},
                          out);
    records_.moveTo(entry.recordBytes, out);
    leaveOrigin(entry.origin);
  }
  return appended();
}

void TapQueue::dropOldest(std::size_t memory) {
  const std::size_t before = this->memory();
  std::vector<std::uint8_t> records;
  while (!entries_.empty() && before - this->memory() < memory) dropFront(records);
  // Losses that meet become one.
  while (!entries_.empty() && entries_.front().origin == nullptr) dropFront(records);
  if (entries_.empty()) newest_ += std::exchange(oldest_, {});
}

// records: room for work.
void TapQueue::dropFront(std::vector<std::uint8_t>& records) {
  const Entry entry = entries_.front();
  entries_.pop();
  if (entry.origin == nullptr) {
    oldest_ += lossesOf(entry);
    return;
  }
  records.clear();
  records_.moveTo(entry.recordBytes, records);
  wire::RecordReader reader(records, false);
  while (reader.next()) {
    ++oldest_.dropped;
    ++lost_;
    --accepted_;
  }
  leaveOrigin(entry.origin);
}

Losses TapQueue::lossesOf(const Entry& entry) {
  if (entry.recordBytes == Loss) return {.dropped = entry.lostOrTime};
  return {.before = entry.lostOrTime, .uncounted = entry.lostOrTime == 0};
}

TapQueue::Origins::value_type* TapQueue::enterOrigin(device::PortId port, std::string_view name) {
  const auto [known, isNew] = origins_.try_emplace(port);
  if (isNew) {
    known->second.name = name;
    originMemory_ += memoryOf(known->second);
  }
  ++known->second.entries;
  return &*known;
}

void TapQueue::leaveOrigin(Origins::value_type* origin) {
  if (--origin->second.entries > 0) return;
  originMemory_ -= memoryOf(origin->second);
  origins_.erase(origin->first);
}

std::size_t TapQueue::memoryOf(const Origin& origin) {
  // A node of the map, and the text of a name that does not fit into a string; and what the allocator adds to both.
  constexpr std::size_t Allocated = 2 * sizeof(void*);
  constexpr std::size_t Node = 4 * sizeof(void*) + sizeof(Origins::value_type) + Allocated;
  const bool isInside = origin.name.capacity() == std::string().capacity();
  return Node + (isInside ? 0 : origin.name.capacity() + 1 + Allocated);
}

bool TapQueue::mayJoin(const Entry& entry, EventPortId eventPort, device::PortId port, std::uint32_t holderBytes,
                       std::size_t recordBytes, device::Time now) const {
  if (entry.origin == nullptr || entry.eventPort != eventPort || entry.origin->first != port) return false;
  const device::Time age = now - device::Time(static_cast<device::Time::rep>(entry.lostOrTime));
  return age <= SharingTime && wire::EventHeaderBytes + entry.recordBytes + recordBytes <= holderBytes;
}

}  // namespace service
