// Between the bytes of real MIDI, which have channels, and messages, which have group ids instead.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "platform/device/port.h"

namespace midi {

// Cuts the bytes that one source of real MIDI emits into messages. Status 0x9n becomes status 0x90 and group id n;
// messages without a channel have group id 0. Running status is filled in, real-time messages come out at once wherever
// they stand, and system exclusive comes out whole however it was cut on the way.
class MidiReader {
 public:
  using Take = std::function<void(const device::Message& message)>;

  // Reads on. take: called with each message that has become complete; its bytes live for that call.
  void read(std::span<const std::uint8_t> bytes, const Take& take);

  // What was cut short, longer than device::MaxMessageBytes, or no message at all, since this was last asked: a run of
  // data bytes without a status counts once.
  std::uint64_t takeBroken();

  // Forgets what has begun, which counts as broken: the rest of it will not come.
  void restart();

 private:
  void readStatus(std::uint8_t byte, const Take& take);
  void readData(std::uint8_t byte, const Take& take);
  void finish(const Take& take);

  std::vector<std::uint8_t> pending_;  // a message that has begun; empty when none has
  std::uint8_t running_ = 0;           // running status, 0 when there is none
  bool skipping_ = false;              // over bytes that have been counted as broken
  std::uint64_t broken_ = 0;
};

enum class Sendable : std::uint8_t {
  Yes,
  NoSuchChannel,  // real MIDI has 16
  NotOneMessage   // more, or less, or none
};

// Appends the bytes of a message to out, with the group id as its channel: one complete message, system exclusive with
// its 0xF7. A status that has a channel already keeps it when the group id is 0. Nothing is appended but for Yes.
Sendable appendMidi(const device::Message& message, std::vector<std::uint8_t>& out);

}  // namespace midi
