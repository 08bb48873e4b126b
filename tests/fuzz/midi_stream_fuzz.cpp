// Whatever bytes real MIDI brings, in whatever pieces: what comes out is whole messages that can be sent again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "platform/midi/midi_stream.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span bytes(data, size);
  std::vector<std::uint8_t> whole;
  std::vector<std::uint8_t> inPieces;
  const auto collect = [](std::vector<std::uint8_t>& out) {
    return [&out](const device::Message& message) {
      if (midi::appendMidi(message, out) != midi::Sendable::Yes) std::abort();
    };
  };
  midi::MidiReader one;
  one.read(bytes, collect(whole));
  midi::MidiReader other;
  for (std::size_t at = 0; at < size; ++at) other.read(bytes.subspan(at, 1), collect(inPieces));
  if (whole != inPieces || one.takeBroken() != other.takeBroken()) std::abort();
  return 0;
}
