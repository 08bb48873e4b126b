#include "platform/drivers/described/builtin.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>

#include "platform/drivers/described/described_device.h"

namespace drivers {
namespace {

enum GroupIds : std::uint16_t {
  Keyboard,
  Panel,
  Sequencer,
  Arpeggiator,
  ToneGenerator,
  MidiDin,
  MidiUsb,
  Clock,
  Thru,
};

struct BuiltinGroup {
  GroupIds id;
  const char* name;
  std::optional<std::uint16_t> sources;
  std::optional<std::uint16_t> sinks;
};

constexpr std::array Groups{
    BuiltinGroup{Keyboard, "Keyboard", 1, std::nullopt},  //
    BuiltinGroup{Panel, "Panel", 1, 1},
    BuiltinGroup{Sequencer, "Sequencer", 4, 4},
    BuiltinGroup{Arpeggiator, "Arpeggiator", 1, 1},
    BuiltinGroup{ToneGenerator, "ToneGenerator", std::nullopt, 4},
    BuiltinGroup{MidiDin, "MidiDin", 1, 1},
    BuiltinGroup{MidiUsb, "MidiUsb", 2, 2},
    BuiltinGroup{Clock, "Clock", 1, std::nullopt},
    BuiltinGroup{Thru, "Thru", 1, 1},
};

constexpr std::array Links{
    device::Link{Keyboard, 0, ToneGenerator, 0},  //
    device::Link{Keyboard, 0, Sequencer, 0},      device::Link{Sequencer, 0, ToneGenerator, 0},
    device::Link{Sequencer, 1, ToneGenerator, 1}, device::Link{MidiUsb, 0, Sequencer, 0},
    device::Link{Clock, 0, Arpeggiator, 0},
};

constexpr double BeatsPerMinute = 120;
constexpr device::Time EighthNote = std::chrono::milliseconds(250);
constexpr device::Time NoteLength = std::chrono::milliseconds(200);
constexpr std::array<std::uint8_t, 8> PhraseNotes{0x3C, 0x40, 0x43, 0x48, 0x4C, 0x48, 0x43, 0x40};

midi::Score phrase() {
  constexpr std::uint8_t NoteOn = 0x90;
  constexpr std::uint8_t NoteOff = 0x80;
  constexpr std::uint8_t Velocity = 0x64;
  constexpr std::uint8_t ReleaseVelocity = 0x40;
  midi::Score score;
  for (const std::uint8_t note : PhraseNotes) {
    score.events.push_back({score.length, 0, {NoteOn, note, Velocity}});
    score.events.push_back({score.length + NoteLength, 0, {NoteOff, note, ReleaseVelocity}});
    score.length += EighthNote;
  }
  return score;
}

}  // namespace

std::unique_ptr<device::Driver> makeBuiltinDriver() {
  DeviceDescription device;
  for (const BuiltinGroup& group : Groups) {
    device.groups.push_back(device::numberedGroup(group.id, group.name, group.sources, group.sinks));
  }
  device.links.assign(Links.begin(), Links.end());
  device.thrus = {Arpeggiator, Thru};
  device.scores.push_back({{Sequencer, 0, device::Side::Source}, midi::ScorePlayback{phrase(), true, 1}});
  device.clocks.push_back({{Clock, 0, device::Side::Source}, midi::ClockPlayback{BeatsPerMinute}});
  return makeDescribedDevice(std::move(device));
}

}  // namespace drivers
