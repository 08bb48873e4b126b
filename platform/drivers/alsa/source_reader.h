// The messages of one source of the sequencer.
#pragma once

#include <alsa/asoundlib.h>

#include <array>
#include <cstdint>
#include <memory>
#include <span>

#include "platform/drivers/alsa/event_queue.h"
#include "platform/midi/midi_stream.h"

namespace drivers::alsa {

// Converts events of the sequencer to MIDI bytes, each independently of earlier ones.
class EventDecoder {
 public:
  // Throws std::bad_alloc.
  EventDecoder();

  // Returns the bytes of an event other than system exclusive: zero or more messages, each with its status byte. They
  // are valid until the next call.
  std::span<const std::uint8_t> decode(const snd_seq_event_t& event);

 private:
  struct Free {
    void operator()(snd_midi_event_t* decoder) const { snd_midi_event_free(decoder); }
  };
  std::unique_ptr<snd_midi_event_t, Free> decoder_;
  std::array<std::uint8_t, 64> bytes_{};
};

// Assembles messages from the events of one source. A system exclusive message arrives in pieces, and other messages
// may arrive between them: a port may have several senders.
class SourceReader {
 public:
  // Reads an event of this source. take: called with each message that is complete.
  void read(const QueuedEvent& event, EventDecoder& decoder, const midi::MidiReader::Take& take);

  // Drops a system exclusive message that has begun and will not be continued. It does not count as broken: the loss
  // itself is counted.
  void cut();

  // As MidiReader::takeBroken.
  std::uint64_t takeBroken();

 private:
  midi::MidiReader exclusive_;
  midi::MidiReader others_;
  std::uint64_t broken_ = 0;
  bool skipsTail_ = true;  // skips the rest of a message that began before the tap or a loss
};

}  // namespace drivers::alsa
