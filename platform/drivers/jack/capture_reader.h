// The JACK events of one source as messages.
#pragma once

#include <cstdint>
#include <span>

#include "platform/midi/midi_stream.h"

namespace drivers::jack {

// An event is a message, or a piece of a system exclusive one. Where events are missing, the rest of a message that
// lacks a piece is left out, and counts as lost once.
class CaptureReader {
 public:
  // Reads an event; take as for MidiReader::read.
  void read(std::span<const std::uint8_t> event, const midi::MidiReader::Take& take);

  // Events are missing here: so many messages have lost their beginning.
  void gap(std::uint64_t lost);

  // Messages that were lost or broken, since this was last asked.
  std::uint64_t takeLost();

  // Whether a message begins with this event. Any thread.
  static bool begins(std::span<const std::uint8_t> event);

 private:
  midi::MidiReader reader_;
  bool skipping_ = false;  // until a message begins: what comes before belongs to one that has been counted
  std::uint64_t lost_ = 0;
};

}  // namespace drivers::jack
