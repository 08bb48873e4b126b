#include "platform/midi/controller_names.h"

#include <algorithm>
#include <array>

namespace midi {
namespace {

constexpr std::size_t Controllers = 128;

struct NamedController {
  std::uint8_t number;
  std::string_view name;
};

// MIDI 1.0 Detailed Specification 4.2, table 3 "Control Change messages". Numbers 32 to 63 are the lower seven bits of
// 0 to 31. Sound controllers 70 to 79: Sound Controller Defaults (RP-021). Effects 91 to 95: Redefinition of RPN and
// Effects Depth (RP-023). 88: High Resolution Velocity Prefix (CA-031). 120 to 127: table 5 "Channel Mode messages".
constexpr auto NamedControllers = std::to_array<NamedController>({
    {0, "bank select"},
    {1, "modulation"},
    {2, "breath"},
    {4, "foot"},
    {5, "portamento time"},
    {6, "data entry"},
    {7, "channel volume"},
    {8, "balance"},
    {10, "pan"},
    {11, "expression"},
    {12, "effect control 1"},
    {13, "effect control 2"},
    {16, "general purpose 1"},
    {17, "general purpose 2"},
    {18, "general purpose 3"},
    {19, "general purpose 4"},
    {32, "bank select LSB"},
    {33, "modulation LSB"},
    {34, "breath LSB"},
    {36, "foot LSB"},
    {37, "portamento time LSB"},
    {38, "data entry LSB"},
    {39, "channel volume LSB"},
    {40, "balance LSB"},
    {42, "pan LSB"},
    {43, "expression LSB"},
    {44, "effect control 1 LSB"},
    {45, "effect control 2 LSB"},
    {48, "general purpose 1 LSB"},
    {49, "general purpose 2 LSB"},
    {50, "general purpose 3 LSB"},
    {51, "general purpose 4 LSB"},
    {64, "damper pedal"},
    {65, "portamento"},
    {66, "sostenuto"},
    {67, "soft pedal"},
    {68, "legato footswitch"},
    {69, "hold 2"},
    {70, "sound variation"},
    {71, "timbre"},
    {72, "release time"},
    {73, "attack time"},
    {74, "brightness"},
    {75, "decay time"},
    {76, "vibrato rate"},
    {77, "vibrato depth"},
    {78, "vibrato delay"},
    {79, "sound controller 10"},
    {80, "general purpose 5"},
    {81, "general purpose 6"},
    {82, "general purpose 7"},
    {83, "general purpose 8"},
    {84, "portamento control"},
    {88, "high resolution velocity prefix"},
    {91, "reverb send level"},
    {92, "tremolo depth"},
    {93, "chorus send level"},
    {94, "celeste depth"},
    {95, "phaser depth"},
    {96, "data increment"},
    {97, "data decrement"},
    {98, "NRPN LSB"},
    {99, "NRPN MSB"},
    {100, "RPN LSB"},
    {101, "RPN MSB"},
    {120, "all sound off"},
    {121, "reset all controllers"},
    {122, "local control"},
    {123, "all notes off"},
    {124, "omni mode off"},
    {125, "omni mode on"},
    {126, "mono mode"},
    {127, "poly mode"},
});

constexpr std::array<std::string_view, Controllers> byNumber() {
  std::array<std::string_view, Controllers> names{};
  for (const NamedController& controller : NamedControllers) names.at(controller.number) = controller.name;
  return names;
}

constexpr auto ControllerNames = byNumber();

// MIDI 1.0 Detailed Specification 4.2, table 3a "Registered Parameter Numbers"; 0 to 2 as in RP-023. 5: Modulation
// Depth Range (CA-26, General MIDI 2). 6: MIDI Polyphonic Expression 1.0. 61 x: Three Dimensional Sound Controllers
// (RP-049).
constexpr auto ParameterTable = std::to_array<RegisteredParameter>({
    {PitchBendRange, "pitch bend range", ParameterUnit::BendRange},
    {1, "fine tuning", ParameterUnit::Cents},
    {2, "coarse tuning", ParameterUnit::Semitones},
    {3, "tuning program", ParameterUnit::Coarse},
    {4, "tuning bank", ParameterUnit::Coarse},
    {5, "modulation depth range", ParameterUnit::DepthRange},
    {6, "MPE member channels", ParameterUnit::Coarse},
    {61 << 7, "3D azimuth angle"},
    {61 << 7 | 1, "3D elevation angle"},
    {61 << 7 | 2, "3D gain"},
    {61 << 7 | 3, "3D distance ratio"},
    {61 << 7 | 4, "3D maximum distance"},
    {61 << 7 | 5, "3D gain at maximum distance"},
    {61 << 7 | 6, "3D reference distance ratio"},
    {61 << 7 | 7, "3D pan spread angle"},
    {61 << 7 | 8, "3D roll angle"},
});

}  // namespace

std::string_view controllerName(std::uint8_t number) {
  return number < Controllers ? ControllerNames.at(number) : std::string_view();
}

const RegisteredParameter* registeredParameter(std::uint16_t number) {
  const auto* const found = std::ranges::find(ParameterTable, number, &RegisteredParameter::number);
  return found == ParameterTable.end() ? nullptr : found;
}

std::span<const RegisteredParameter> registeredParameters() { return ParameterTable; }

}  // namespace midi
