#include "platform/service/tap_queue.h"

#include <algorithm>
#include <limits>
#include <string>

#include "platform/wire/events.h"

namespace service {

// Sizes of events travel in 32 bits.
TapQueue::TapQueue(std::size_t limit)
    : limit_(std::min<std::size_t>(limit, std::numeric_limits<std::uint32_t>::max() - wire::EventHeaderBytes)) {}

void TapQueue::add(EventPortId eventPort, PortId port, std::uint32_t holderBytes, const Message& message, Time now) {
  const std::size_t recordBytes = wire::RecordOverheadBytes + message.bytes.size();
  const bool joins =
      dropped_ == 0 && !entries_.empty() && mayJoin(entries_.back(), eventPort, port, holderBytes, recordBytes, now);
  const std::size_t newEntries = joins ? 0 : (dropped_ > 0 ? 2 : 1);
  if (recordBytes + newEntries * sizeof(Entry) > limit_ - bytes()) {
    ++dropped_;
    ++lost_;
    return;
  }
  if (dropped_ > 0) entries_.push_back({.lostOrTime = dropped_, .eventPort = {}, .recordBytes = 0, .port = {}});
  dropped_ = 0;
  if (!joins) {
    const auto time = static_cast<std::uint64_t>(now.count());
    entries_.push_back({.lostOrTime = time, .eventPort = eventPort, .recordBytes = 0, .port = port});
  }
  ++accepted_;
  entries_.back().recordBytes += static_cast<std::uint32_t>(recordBytes);
  records_.append(wire::recordFront(message.group, message.bytes.size()));
  records_.append(message.bytes);
}

std::size_t TapQueue::take(std::size_t maxBytes, const Topology& names, std::vector<std::uint8_t>& out) {
  const std::size_t start = out.size();
  const auto appended = [&] { return out.size() - start; };
  std::string name;
  bool named = false;
  PortId nameOf;
  while (!entries_.empty()) {
    const Entry entry = entries_.front();
    if (entry.recordBytes == 0) {
      if (appended() > 0 && appended() + wire::LossEntryBytes > maxBytes) break;
      wire::appendEventEntry({.lost = entry.lostOrTime}, out);
      entries_.pop_front();
      continue;
    }
    if (!named || nameOf != entry.port) {
      name = names.name(entry.port);
      nameOf = entry.port;
      named = true;
    }
    if (appended() > 0 && appended() + wire::eventEntryBytes(name, entry.recordBytes) > maxBytes) break;
    entries_.pop_front();
    wire::beginEventEntry(static_cast<std::uint32_t>(entry.eventPort), name,
                          {.size = static_cast<std::uint32_t>(wire::EventHeaderBytes + entry.recordBytes),
                           .sequence = ++sequence_,
                           .time = entry.lostOrTime},
                          out);
    records_.moveTo(entry.recordBytes, out);
  }
  if (entries_.empty() && dropped_ > 0 && (appended() == 0 || appended() + wire::LossEntryBytes <= maxBytes)) {
    wire::appendEventEntry({.lost = dropped_}, out);
    dropped_ = 0;
  }
  return appended();
}

bool TapQueue::mayJoin(const Entry& entry, EventPortId eventPort, PortId port, std::uint32_t holderBytes,
                       std::size_t recordBytes, Time now) {
  if (entry.eventPort != eventPort || entry.port != port) return false;
  const Time age = now - Time(static_cast<Time::rep>(entry.lostOrTime));
  return age <= SharingTime && wire::EventHeaderBytes + entry.recordBytes + recordBytes <= holderBytes;
}

}  // namespace service
