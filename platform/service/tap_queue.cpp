#include "platform/service/tap_queue.h"

#include <algorithm>
#include <limits>
#include <string>

#include "platform/wire/events.h"

namespace service {

// Sizes of events travel in 32 bits.
TapQueue::TapQueue(std::size_t limit)
    : limit_(std::min<std::size_t>(limit, std::numeric_limits<std::uint32_t>::max() - wire::EventHeaderBytes)) {}

void TapQueue::add(EventPortId eventPort, device::PortId port, std::string_view name, std::uint32_t holderBytes,
                   const device::Message& message, device::Time now) {
  const std::size_t recordBytes = wire::RecordOverheadBytes + message.bytes.size();
  const bool joins = waitingLosses() == 0 && !entries_.empty() &&
                     mayJoin(entries_.back(), eventPort, port, holderBytes, recordBytes, now);
  const std::size_t newEntries = joins ? 0 : 1 + waitingLosses();
  if (bytes() + recordBytes + newEntries * sizeof(Entry) > limit_) {
    ++dropped_;
    ++lost_;
    return;
  }
  enterLosses();
  if (!joins) {
    const auto time = static_cast<std::uint64_t>(now.count());
    const std::uint32_t origin = enterOrigin(port, name);
    entries_.push_back(
        {.lostOrTime = time, .eventPort = eventPort, .recordBytes = 0, .origin = origin, .kind = Kind::Event});
  }
  ++accepted_;
  entries_.back().recordBytes += static_cast<std::uint32_t>(recordBytes);
  records_.append(wire::recordFront(message.group, message.bytes.size()));
  records_.append(message.bytes);
}

void TapQueue::addLossBefore(std::uint64_t count) {
  lostBefore_ += count;
  lostUncounted_ |= count == 0;
}

void TapQueue::enterLosses() {
  const auto enter = [this](Kind kind, std::uint64_t count) {
    entries_.push_back({.lostOrTime = count, .eventPort = {}, .recordBytes = 0, .origin = 0, .kind = kind});
  };
  if (dropped_ > 0) enter(Kind::Loss, dropped_);
  if (lostBefore_ > 0) enter(Kind::LossBefore, lostBefore_);
  if (lostUncounted_) enter(Kind::LossBefore, 0);
  dropped_ = 0;
  lostBefore_ = 0;
  lostUncounted_ = false;
}

std::size_t TapQueue::take(std::size_t maxBytes, std::vector<std::uint8_t>& out) {
  const std::size_t start = out.size();
  const auto appended = [&] { return out.size() - start; };
  for (;;) {
    if (entries_.empty()) enterLosses();
    if (entries_.empty()) break;
    const Entry entry = entries_.front();
    if (entry.kind != Kind::Event) {
      if (appended() > 0 && appended() + wire::LossEntryBytes > maxBytes) break;
      wire::EventEntry loss;
      if (entry.kind == Kind::Loss) {
        loss.lost = entry.lostOrTime;
      } else {
        loss.lostBefore = entry.lostOrTime;
      }
      wire::appendEventEntry(loss, out);
      entries_.pop_front();
      continue;
    }
    const std::string& name = origins_[entry.origin].name;
    if (appended() > 0 && appended() + wire::eventEntryBytes(name, entry.recordBytes) > maxBytes) break;
    entries_.pop_front();
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

std::uint32_t TapQueue::enterOrigin(device::PortId port, std::string_view name) {
  const auto next = static_cast<std::uint32_t>(freeOrigins_.empty() ? origins_.size() : freeOrigins_.back());
  const auto [known, isNew] = originOf_.try_emplace(port, next);
  if (isNew) {
    if (freeOrigins_.empty()) {
      origins_.emplace_back();
    } else {
      freeOrigins_.pop_back();
    }
    origins_[next] = {port, std::string(name), 0};
  }
  ++origins_[known->second].entries;
  return known->second;
}

void TapQueue::leaveOrigin(std::uint32_t index) {
  if (--origins_[index].entries > 0) return;
  originOf_.erase(origins_[index].port);
  freeOrigins_.push_back(index);
}

bool TapQueue::mayJoin(const Entry& entry, EventPortId eventPort, device::PortId port, std::uint32_t holderBytes,
                       std::size_t recordBytes, device::Time now) const {
  if (entry.kind != Kind::Event || entry.eventPort != eventPort) return false;
  if (origins_[entry.origin].port != port) return false;
  const device::Time age = now - device::Time(static_cast<device::Time::rep>(entry.lostOrTime));
  return age <= SharingTime && wire::EventHeaderBytes + entry.recordBytes + recordBytes <= holderBytes;
}

}  // namespace service
