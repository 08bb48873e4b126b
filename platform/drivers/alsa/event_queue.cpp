#include "platform/drivers/alsa/event_queue.h"

#include <span>
#include <utility>

#include "platform/midi/midi_bytes.h"

namespace drivers::alsa {
namespace {

std::span<const std::uint8_t> dataOf(const snd_seq_event_t& event) {
  if (!snd_seq_ev_is_variable(&event) || event.data.ext.len == 0) return {};
  return {static_cast<const std::uint8_t*>(event.data.ext.ptr), event.data.ext.len};
}

}  // namespace

void EventQueue::add(const snd_seq_event_t& event) {
  const Address source{event.source.client, event.source.port};
  const auto data = dataOf(event);
  const bool exclusive = event.type == SND_SEQ_EVENT_SYSEX && !data.empty();
  const bool begins = exclusive && data.front() == midi::SystemExclusive;
  const bool ends = exclusive && data.back() == midi::EndOfExclusive;
  const std::size_t size = sizeof(QueuedEvent) + data.size();

  const std::lock_guard lock(mutex_);
  const auto cut = cutting_.find(source);
  const bool continuesCut = exclusive && !begins && cut != cutting_.end();
  if (continuesCut || bytes_ + size > mostBytes_) {
    Losses& losses = losses_[source];
    if (!continuesCut) ++losses.lost;
    if (exclusive) {
      losses.cut = true;
      if (ends) {
        cutting_.erase(source);
      } else {
        cutting_.insert(source);
      }
    }
    return;
  }
  if (begins && cut != cutting_.end()) cutting_.erase(cut);
  pushLosses();
  events_.push_back({QueuedEvent::Kind::Event, source, event, {data.begin(), data.end()}});
  bytes_ += size;
}

void EventQueue::addOverflow() {
  const std::lock_guard lock(mutex_);
  overflow_ = true;
}

std::vector<QueuedEvent> EventQueue::take() {
  const std::lock_guard lock(mutex_);
  pushLosses();
  bytes_ = 0;
  return std::exchange(events_, {});
}

void EventQueue::pushLosses() {
  for (const auto& [source, losses] : std::exchange(losses_, {})) {
    events_.push_back({QueuedEvent::Kind::Lost, source, {}, {}, losses.lost, losses.cut});
  }
  if (std::exchange(overflow_, false)) events_.push_back({QueuedEvent::Kind::Overflow});
}

}  // namespace drivers::alsa
