// Converts between the bytes of real MIDI, which have channels, and messages, which have group ids instead.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "platform/device/port.h"

namespace midi {

// Splits the bytes of one real MIDI source into messages. Status 0x9n becomes status 0x90 and group id n; messages
// without a channel have group id 0. Running status is filled in. Real-time messages are passed on at once, even inside
// another message. A system exclusive message is passed on whole, however its bytes arrive.
class MidiReader {
 public:
  using Take = std::function<void(const device::Message& message)>;

  // Reads the next bytes. take: called with each message that is complete; its bytes are valid during that call.
  void read(std::span<const std::uint8_t> bytes, const Take& take);

  // Returns how many messages since the last call were cut short, longer than device::MaxMessageBytes, or no message at
  // all. A run of data bytes without a status counts once.
  std::uint64_t takeBroken();

  // Drops a message that has begun, whose rest will not come; it counts as broken.
  void restart();

 private:
  void readStatus(std::uint8_t byte, const Take& take);
  void readData(std::uint8_t byte, const Take& take);
  void finish(const Take& take);

  std::vector<std::uint8_t> pending_;  // a message that has begun, else empty
  std::uint8_t running_ = 0;           // running status, 0 if there is none
  bool skipping_ = false;              // skips bytes that are already counted as broken
  std::uint64_t broken_ = 0;
};

enum class Sendable : std::uint8_t {
  Yes,
  NoSuchChannel,  // real MIDI has 16
  NotOneMessage   // more than one, a part of one, or none
};

// Appends the bytes of a message to out, with the group id as its channel. The message must be one complete message;
// system exclusive includes its 0xF7. A status that already has a channel keeps it if the group id is 0. Appends
// nothing unless it returns Yes.
Sendable appendMidi(const device::Message& message, std::vector<std::uint8_t>& out);

}  // namespace midi
