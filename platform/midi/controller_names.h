// What the numbers of controllers and of registered parameters mean.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace midi {

// Controllers that select a parameter and set its value.
inline constexpr std::uint8_t DataEntry = 6;
inline constexpr std::uint8_t DataEntryLsb = 38;
inline constexpr std::uint8_t DataIncrement = 96;
inline constexpr std::uint8_t DataDecrement = 97;
inline constexpr std::uint8_t NonRegisteredLsb = 98;
inline constexpr std::uint8_t NonRegisteredMsb = 99;
inline constexpr std::uint8_t RegisteredLsb = 100;
inline constexpr std::uint8_t RegisteredMsb = 101;
inline constexpr std::uint8_t ResetAllControllers = 121;

// The name of a controller; empty if the number is undefined or above 127.
std::string_view controllerName(std::uint8_t number);

// How the 14 bits of a registered parameter's value are to be read.
enum class ParameterUnit : std::uint8_t {
  Number,      // all 14 bits
  Coarse,      // the upper seven bits are the number
  Cents,       // 8192 is 0, one step is 100/8192 cents
  Semitones,   // the upper seven bits, 64 is 0
  BendRange,   // the upper seven bits are semitones, the lower ones cents
  DepthRange,  // the upper seven bits are semitones, the lower ones 1/128 semitone
};

struct RegisteredParameter {
  std::uint16_t number = 0;  // 14 bits
  std::string_view name;
  ParameterUnit unit = ParameterUnit::Number;
};

inline constexpr std::uint16_t PitchBendRange = 0;
inline constexpr std::uint16_t NullParameter = 0x3FFF;  // selects no parameter

// The parameter with this number; null if it is undefined. Valid for ever.
const RegisteredParameter* registeredParameter(std::uint16_t number);

// All of them, ascending by number.
std::span<const RegisteredParameter> registeredParameters();

}  // namespace midi
