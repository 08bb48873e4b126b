#include "platform/drivers/jack/output.h"

#include <jack/jack.h>
#include <jack/midiport.h>

#include <algorithm>
#include <string>

#include "platform/drivers/jack/sink_queue.h"
#include "platform/midi/midi_bytes.h"

namespace drivers::jack {
namespace {

constexpr std::size_t OutputRingBytes = 4 * SinkQueue::MaxPiece;

// True if a message ends with this piece.
bool endsMessage(std::uint8_t first, std::uint8_t last) {
  return last == midi::EndOfExclusive || (midi::isStatusByte(first) && first != midi::SystemExclusive);
}

// Empties the ring. Returns how many messages ended in it.
std::uint64_t messagesIn(SpscRing& ring) {
  std::uint64_t messages = 0;
  std::uint32_t size = 0;
  while (ring.size() > 0) {
    ring.peek(0, {reinterpret_cast<std::uint8_t*>(&size), sizeof size});
    std::array<std::uint8_t, 2> ends{};
    ring.peek(sizeof size, {&ends[0], 1});
    ring.peek(sizeof size + size - 1, {&ends[1], 1});
    if (endsMessage(ends[0], ends[1])) ++messages;
    ring.drop(sizeof size + size);
  }
  return messages;
}

}  // namespace

Output::Output(const ProcessGate& gate) : gate_(gate), slots_(std::make_unique<std::array<Slot, MaxPorts>>()) {}

void Output::process(jack_nframes_t frames) {
  const std::size_t used = used_.load(std::memory_order_acquire);
  for (std::size_t at = 0; at < used; ++at) {
    Slot& slot = (*slots_)[at];
    if (jack_port_t* port = slot.port.load()) processSlot(slot, port, frames);
  }
}

void Output::processSlot(Slot& slot, jack_port_t* port, jack_nframes_t frames) {
  void* buffer = jack_port_get_buffer(port, frames);
  if (buffer == nullptr) return;
  jack_midi_clear_buffer(buffer);
  if (slot.abandoned.load()) return;
  // A connection that exists now may have been made during this period, too late for a reader.
  const bool connected = jack_port_connected(port) > 0;
  if (!connected || !slot.settled.load()) {
    slot.settled.store(connected);
    return;
  }
  const std::size_t most = jack_midi_max_event_size(buffer);
  std::uint32_t size = 0;
  while (slot.ring->size() >= sizeof size) {
    slot.ring->peek(0, {reinterpret_cast<std::uint8_t*>(&size), sizeof size});
    const std::size_t left = size - slot.offset;
    const std::size_t room = jack_midi_max_event_size(buffer);
    // JACK would count a request for more than fits as a loss.
    if (room == 0 || (left > room && left <= most)) return;
    const std::size_t part = std::min(left, room);
    std::uint8_t* event = jack_midi_event_reserve(buffer, 0, part);
    if (event == nullptr) return;
    slot.ring->peek(sizeof size + slot.offset, {event, part});
    slot.offset += part;
    if (slot.offset < size) return;
    slot.ring->drop(sizeof size + size);
    slot.offset = 0;
  }
}

std::optional<std::size_t> Output::reserve() {
  const auto free = std::ranges::find_if(*slots_, [](const Slot& slot) { return slot.ring == nullptr; });
  if (free == slots_->end()) return std::nullopt;
  const auto number = static_cast<std::size_t>(free - slots_->begin());
  free->ring = std::make_unique<SpscRing>(OutputRingBytes);
  free->settled.store(false);
  free->offset = 0;
  used_.store(std::max(used_.load(), number + 1), std::memory_order_release);
  return number;
}

bool Output::open(jack_client_t* client, std::size_t number) {
  const std::string name = "playback_" + std::to_string(number + 1);
  jack_port_t* port = jack_port_register(client, name.c_str(), JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
  if (port == nullptr) return false;
  (*slots_)[number].port.store(port);
  return true;
}

jack_port_t* Output::port(std::size_t number) const { return (*slots_)[number].port.load(); }

SpscRing& Output::ring(std::size_t number) { return *(*slots_)[number].ring; }

bool Output::settled(std::size_t number) const { return (*slots_)[number].settled.load(); }

bool Output::waits(std::size_t number) const { return (*slots_)[number].ring->size() > 0; }

Output::Closed Output::close(std::size_t number) {
  Slot& slot = (*slots_)[number];
  Closed closed{.port = slot.port.exchange(nullptr)};
  gate_.pass();
  closed.messages = messagesIn(*slot.ring);
  slot.ring.reset();
  return closed;
}

std::uint64_t Output::abandon(std::size_t number) {
  Slot& slot = (*slots_)[number];
  slot.abandoned.store(true);
  gate_.pass();
  return messagesIn(*slot.ring);
}

}  // namespace drivers::jack
