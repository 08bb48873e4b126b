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

// Turns events of the sequencer into the bytes that they stand for. Knows nothing of the past.
class EventDecoder {
 public:
  // Throws std::bad_alloc.
  EventDecoder();

  // The bytes of an event that is no system exclusive one: those of no, one or several messages, each with its status.
  // They live until the next call.
  std::span<const std::uint8_t> decode(const snd_seq_event_t& event);

 private:
  struct Free {
    void operator()(snd_midi_event_t* decoder) const { snd_midi_event_free(decoder); }
  };
  std::unique_ptr<snd_midi_event_t, Free> decoder_;
  std::array<std::uint8_t, 64> bytes_{};
};

// Cuts what comes from one source into messages. System exclusive comes in events that are pieces, and those of other
// messages may stand between them: behind one port there may be several senders.
class TappedSource {
 public:
  // An event of this source. take: called with each message that has become complete.
  void read(const QueuedEvent& event, EventDecoder& decoder, const midi::MidiReader::Take& take);

  // What was begun will not be continued. It counts no more than what the loss itself was counted as.
  void cut();

  // As MidiReader::takeBroken.
  std::uint64_t takeBroken();

 private:
  midi::MidiReader exclusive_;
  midi::MidiReader others_;
  std::uint64_t broken_ = 0;
  bool skipsTail_ = true;  // the rest of what began before the tap, or before a loss, is not ours
};

}  // namespace drivers::alsa
