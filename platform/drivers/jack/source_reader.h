// Converts the JACK events of one source to messages.
#pragma once

#include <cstdint>
#include <span>

#include "platform/midi/midi_stream.h"

namespace drivers::jack {

// An event is a message, or a piece of a system exclusive one. Where events are missing, the rest of a message that
// lacks a piece is left out and counts as lost once.
class SourceReader {
 public:
  // Reads an event; take as for MidiReader::read.
  void read(std::span<const std::uint8_t> event, const midi::MidiReader::Take& take);

  // Events are missing here. lost: how many messages lost their beginning.
  void gap(std::uint64_t lost);

  // Returns how many messages were lost or broken since the last call.
  std::uint64_t takeLost();

  // True if a message begins with this event. Thread-safe.
  static bool begins(std::span<const std::uint8_t> event);

 private:
  midi::MidiReader reader_;
  bool skipping_ = false;  // until a message begins: what comes before belongs to one that is counted already
  std::uint64_t lost_ = 0;
};

}  // namespace drivers::jack
