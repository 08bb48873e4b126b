// Turns the messages of one stream into words.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/device/port.h"
#include "platform/midi/clock_tempo.h"
#include "platform/midi/decoded.h"
#include "platform/midi/parameters.h"
#include "platform/midi/time_code.h"

namespace midi {

// The name of a note, with middle C (60) as C4: "C-1" to "G9". number: 0 to 127.
std::string noteName(std::uint8_t number);

// Decodes the messages of one port. What a message means may depend on those before it: parameters (RPN, NRPN) and the
// bend range belong to a channel, time code and the tempo of a clock to the port. A system reset or General MIDI on
// resets the channels.
//
// Accepts any bytes. Keeps about 20 bytes for each channel that was used, of at most 256 channels; messages with a
// group id above 255 are decoded one by one, without what came before.
class MessageDecoder {
 public:
  // Returns the message in words; valid until the next call. time: when it came, for the tempo of a clock.
  const Decoded& decode(const device::Message& message, device::Time time);

 private:
  void decodeNote(std::span<const std::uint8_t> bytes);
  void decodePressure(std::span<const std::uint8_t> bytes);
  void decodeController(std::uint16_t group, std::uint8_t number, std::uint8_t value);
  void decodeBend(std::uint16_t group, int value);
  void decodeExclusive(std::span<const std::uint8_t> bytes);
  void decodeQuarterFrame(std::uint8_t data);
  void decodePosition(int sixteenths);
  void decodeClock(device::Time time);
  void decodeOther(std::span<const std::uint8_t> bytes);

  // An event without parts.
  void say(std::string_view event);
  Parameters& channel(std::uint16_t group);

  std::vector<Parameters> channels_;  // by group id
  Parameters unkept_;                 // of a group id above the kept ones
  QuarterFrames quarterFrames_;
  ClockTempo tempo_;
  Decoded decoded_;
};

}  // namespace midi
