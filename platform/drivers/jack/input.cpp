#include "platform/drivers/jack/input.h"

#include <jack/jack.h>
#include <jack/midiport.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "platform/drivers/jack/source_reader.h"

namespace drivers::jack {
namespace {

// A third of a second of one port that is completely full, at 128 frames a period.
constexpr std::size_t InputRingBytes = std::size_t{4} * 1024 * 1024;

// No sizes of events.
constexpr std::uint32_t Gap = 0;
constexpr std::uint32_t Connected = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint32_t ConnectedAgain = Connected - 1;
constexpr std::uint32_t Disconnected = Connected - 2;

struct Record {
  std::uint32_t number = 0;
  std::uint32_t size = 0;  // of an event, whose bytes follow; or one of the above
  std::uint64_t lost = 0;  // Gap
};

std::span<const std::uint8_t> bytesOf(const Record& record) {
  return {reinterpret_cast<const std::uint8_t*>(&record), sizeof record};
}

}  // namespace

Input::Input(const ProcessGate& gate)
    : gate_(gate), ring_(InputRingBytes), slots_(std::make_unique<std::array<Slot, MaxPorts>>()) {}

bool Input::process(jack_nframes_t frames) {
  bool pushed = false;
  const std::size_t used = used_.load(std::memory_order_acquire);
  for (std::size_t at = 0; at < used; ++at) {
    Slot& slot = (*slots_)[at];
    if (jack_port_t* port = slot.port.load()) pushed |= processSlot(slot, port, frames);
  }
  return pushed;
}

bool Input::processSlot(Slot& slot, jack_port_t* port, jack_nframes_t frames) {
  void* buffer = jack_port_get_buffer(port, frames);
  if (buffer == nullptr) return false;
  // After the buffer was read: a connection that is made in between counts from the next period on.
  bool pushed = pushConnection(slot, jack_port_connected(port) > 0);
  const std::uint32_t count = jack_midi_get_event_count(buffer);
  for (std::uint32_t at = 0; at < count; ++at) {
    jack_midi_event_t event;
    if (jack_midi_event_get(&event, buffer, at) != 0 || event.size == 0) continue;
    const std::span<const std::uint8_t> bytes(event.buffer, event.size);
    if (!slot.gap || pushGap(slot)) {
      pushed = true;
      const Record record{slot.number, static_cast<std::uint32_t>(event.size), 0};
      if (ring_.push(bytesOf(record), bytes)) continue;
    }
    slot.gap = true;
    if (SourceReader::begins(bytes)) ++slot.lost;
  }
  // JACK fills a period's buffer from its beginning, so what did not fit is missing at the end.
  if (const std::uint32_t lost = jack_midi_get_lost_event_count(buffer); lost > 0) {
    slot.gap = true;
    slot.lost += lost;
  }
  if (slot.gap) pushed |= pushGap(slot);
  return pushed;
}

bool Input::pushGap(Slot& slot) {
  if (!ring_.push(bytesOf({slot.number, Gap, slot.lost}), {})) return false;
  slot.gap = false;
  slot.lost = 0;
  return true;
}

// What has no room now is told in a later period.
bool Input::pushConnection(Slot& slot, bool isThere) {
  if (!isThere && slot.wasThere) slot.isBroken = true;
  slot.wasThere |= isThere;
  const bool isBack = isThere && slot.isBroken;
  if (isThere == slot.wasTold && !isBack) return false;
  const std::uint32_t news = isBack ? ConnectedAgain : isThere ? Connected : Disconnected;
  if (!ring_.push(bytesOf({slot.number, news, 0}), {})) return false;
  slot.wasTold = isThere;
  if (isThere) slot.isBroken = false;
  return true;
}

bool Input::open(jack_client_t* client, std::uint32_t number) {
  const auto free = std::ranges::find_if(*slots_, [](const Slot& slot) { return slot.port.load() == nullptr; });
  if (free == slots_->end()) return false;
  const std::size_t at = static_cast<std::size_t>(free - slots_->begin());
  const std::string name = "capture_" + std::to_string(at + 1);
  jack_port_t* port = jack_port_register(client, name.c_str(), JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0);
  if (port == nullptr) return false;
  free->number = number;
  free->gap = false;
  free->lost = 0;
  free->wasTold = false;
  free->wasThere = false;
  free->isBroken = false;
  free->port.store(port);
  used_.store(std::max(used_.load(), at + 1), std::memory_order_release);
  return true;
}

const Input::Slot* Input::find(std::uint32_t number) const {
  const auto found = std::ranges::find_if(
      *slots_, [&](const Slot& slot) { return slot.number == number && slot.port.load() != nullptr; });
  return found == slots_->end() ? nullptr : &*found;
}

jack_port_t* Input::port(std::uint32_t number) const {
  const Slot* slot = find(number);
  return slot == nullptr ? nullptr : slot->port.load();
}

void Input::close(jack_client_t* client, std::uint32_t number) {
  const Slot* slot = find(number);
  if (slot == nullptr) return;
  jack_port_t* port = (*slots_)[static_cast<std::size_t>(slot - slots_->data())].port.exchange(nullptr);
  gate_.pass();
  jack_port_unregister(client, port);
}

bool Input::take(std::size_t bytes, const Takers& takers) {
  std::vector<std::uint8_t> body;
  for (std::size_t taken = 0; taken < bytes;) {
    if (ring_.size() < sizeof(Record)) return false;
    Record record;
    ring_.peek(0, {reinterpret_cast<std::uint8_t*>(&record), sizeof record});
    body.resize(record.size < Disconnected ? record.size : 0);
    ring_.peek(sizeof record, body);
    ring_.drop(sizeof record + body.size());
    taken += sizeof record + body.size();
    switch (record.size) {
      case Gap:
        takers.gap(record.number, record.lost);
        break;
      case Connected:
      case ConnectedAgain:
      case Disconnected:
        takers.connection(record.number,
                          {.isThere = record.size != Disconnected, .wasBroken = record.size == ConnectedAgain});
        break;
      default:
        takers.event(record.number, body);
        break;
    }
  }
  return ring_.size() >= sizeof(Record);
}

}  // namespace drivers::jack
