#include "platform/drivers/jack/source_reader.h"

#include <utility>

#include "platform/midi/midi_bytes.h"

namespace drivers::jack {

void SourceReader::read(std::span<const std::uint8_t> event, const midi::MidiReader::Take& take) {
  if (event.empty()) return;
  if (skipping_ && !begins(event)) return;
  // A real-time message may arrive between the pieces of another message.
  if (event.front() < midi::TimingClock) skipping_ = false;
  reader_.read(event, take);
}

void SourceReader::gap(std::uint64_t lost) {
  reader_.restart();
  lost_ += lost;
  skipping_ = true;
}

std::uint64_t SourceReader::takeLost() { return std::exchange(lost_, 0) + reader_.takeBroken(); }

bool SourceReader::begins(std::span<const std::uint8_t> event) {
  return !event.empty() && midi::isStatusByte(event.front()) && event.front() != midi::EndOfExclusive;
}

}  // namespace drivers::jack
