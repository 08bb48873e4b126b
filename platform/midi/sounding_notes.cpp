#include "platform/midi/sounding_notes.h"

#include "platform/midi/midi_bytes.h"

namespace midi {
namespace {

constexpr std::uint8_t HoldPedal = 64;
constexpr std::uint8_t SostenutoPedal = 66;
constexpr std::uint8_t PedalDown = 64;  // and above

// The default release velocity.
constexpr std::uint8_t ReleaseVelocity = 64;

constexpr std::size_t MessageBytes = 3;  // of each message above

}  // namespace

void SoundingNotes::passed(const device::Message& message) {
  if (message.bytes.size() != MessageBytes) return;
  const std::uint8_t status = message.bytes[0];
  const std::size_t number = message.bytes[1];
  const std::uint8_t value = message.bytes[2];
  if (number >= Numbers) return;
  if (status == NoteOn || status == NoteOff) {
    channels_[message.group].notes.set(number, status == NoteOn && value > 0);
  } else if (status == ControlChange && (number == HoldPedal || number == SostenutoPedal)) {
    channels_[message.group].pedals.set(number, value >= PedalDown);
  }
}

std::vector<ScoreEvent> SoundingNotes::takeEnds() {
  std::vector<ScoreEvent> ends;
  for (const auto& [group, channel] : channels_) {
    for (std::size_t number = 0; number < Numbers; ++number) {
      const auto data = static_cast<std::uint8_t>(number);
      if (channel.notes[number]) ends.push_back({{}, group, {NoteOff, data, ReleaseVelocity}});
    }
  }
  for (const auto& [group, channel] : channels_) {
    for (const std::uint8_t pedal : {HoldPedal, SostenutoPedal}) {
      if (channel.pedals[pedal]) ends.push_back({{}, group, {ControlChange, pedal, 0}});
    }
  }
  channels_.clear();
  return ends;
}

}  // namespace midi
