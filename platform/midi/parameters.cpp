#include "platform/midi/parameters.h"

#include <algorithm>

#include "platform/midi/controller_names.h"
#include "platform/midi/hex_text.h"

namespace midi {
namespace {

constexpr unsigned SevenBits = 0x7F;
constexpr int LargestValue = 0x3FFF;

constexpr std::uint16_t fourteenBits(std::uint8_t upper, std::uint8_t lower) {
  return static_cast<std::uint16_t>((upper & SevenBits) << 7U | (lower & SevenBits));
}

ParameterUnit unitOf(Parameter parameter) {
  const RegisteredParameter* known = parameter.registered ? registeredParameter(parameter.number) : nullptr;
  return known == nullptr ? ParameterUnit::Number : known->unit;
}

// One step of the parameter's resolution up or down, within the limits.
std::uint16_t stepped(ParameterUnit unit, std::uint16_t value, bool up) {
  const int way = up ? 1 : -1;
  if (unit == ParameterUnit::BendRange) {
    constexpr int Cents = 100;
    constexpr int Largest = 127 * Cents + Cents - 1;
    const int cents = std::clamp((value >> 7) * Cents + std::min(value & 0x7F, Cents - 1) + way, 0, Largest);
    return static_cast<std::uint16_t>(cents / Cents << 7 | cents % Cents);
  }
  const bool coarse = unit == ParameterUnit::Coarse || unit == ParameterUnit::Semitones;
  return static_cast<std::uint16_t>(std::clamp(value + way * (coarse ? 1 << 7 : 1), 0, LargestValue));
}

}  // namespace

std::string numberText(Parameter parameter) {
  return (parameter.registered ? "RPN " : "NRPN ") + std::to_string(parameter.number);
}

std::string parameterText(Parameter parameter) {
  const RegisteredParameter* known = parameter.registered ? registeredParameter(parameter.number) : nullptr;
  return known == nullptr ? numberText(parameter) : numberText(parameter) + ' ' + std::string(known->name);
}

std::string valueText(Parameter parameter, std::uint16_t value) {
  const int upper = value >> 7;
  const int lower = value & 0x7F;
  switch (unitOf(parameter)) {
    case ParameterUnit::Number:
      break;
    case ParameterUnit::Coarse:
      return std::to_string(upper);
    case ParameterUnit::Cents:
      return decimalText((value - 8192) * 100.0 / 8192, 2) + " cents";
    case ParameterUnit::Semitones:
      return std::to_string(upper - 64) + " semitones";
    case ParameterUnit::BendRange:
      return decimalText(upper + lower / 100.0, 2) + " semitones";
    case ParameterUnit::DepthRange:
      return decimalText(upper + lower / 128.0, 2) + " semitones";
  }
  return std::to_string(value);
}

std::optional<ParameterStep> Parameters::control(std::uint8_t number, std::uint8_t value) {
  switch (number) {
    case NonRegisteredLsb:
    case NonRegisteredMsb:
      return select(false, number == NonRegisteredMsb, value);
    case RegisteredLsb:
    case RegisteredMsb:
      return select(true, number == RegisteredMsb, value);
    case DataEntry:
    case DataEntryLsb:
      return enter(number == DataEntry, value);
    case DataIncrement:
    case DataDecrement:
      return step(number == DataIncrement);
    default:
      return std::nullopt;
  }
}

void Parameters::deselect() {
  numberMsb_.reset();
  numberLsb_.reset();
}

double Parameters::bendRange() const { return (bendRange_ >> 7) + (bendRange_ & 0x7F) / 100.0; }

ParameterStep Parameters::select(bool registered, bool upper, std::uint8_t value) {
  if (registered != registered_) deselect();
  registered_ = registered;
  (upper ? numberMsb_ : numberLsb_) = value;
  valueMsb_.reset();
  valueLsb_.reset();
  if (!numberMsb_ || !numberLsb_) return {ParameterStep::Kind::Selecting, {}, std::nullopt};
  const auto parameter = selected();
  if (!parameter) return {ParameterStep::Kind::None, {}, std::nullopt};
  if (*parameter == Parameter{true, PitchBendRange}) {
    valueMsb_ = static_cast<std::uint8_t>(bendRange_ >> 7U);
    valueLsb_ = static_cast<std::uint8_t>(bendRange_ & SevenBits);
  }
  return {ParameterStep::Kind::Selected, *parameter, std::nullopt};
}

ParameterStep Parameters::enter(bool upper, std::uint8_t value) {
  const auto parameter = selected();
  if (!parameter) return {};
  if (upper) {
    if (valueMsb_) valueLsb_.reset();
    valueMsb_ = value;
  } else {
    valueLsb_ = value;
  }
  keep(*parameter);
  return {ParameterStep::Kind::Set, *parameter, known()};
}

ParameterStep Parameters::step(bool up) {
  const auto parameter = selected();
  if (!parameter) return {};
  if (const auto before = known()) {
    const std::uint16_t after = stepped(unitOf(*parameter), *before, up);
    valueMsb_ = static_cast<std::uint8_t>(after >> 7U);
    valueLsb_ = static_cast<std::uint8_t>(after & SevenBits);
    keep(*parameter);
  }
  return {ParameterStep::Kind::Stepped, *parameter, known()};
}

std::optional<Parameter> Parameters::selected() const {
  if (!numberMsb_ || !numberLsb_) return std::nullopt;
  const std::uint16_t number = fourteenBits(*numberMsb_, *numberLsb_);
  // This number selects nothing among the non-registered ones, too.
  if (number == NullParameter) return std::nullopt;
  return Parameter{registered_, number};
}

std::optional<std::uint16_t> Parameters::known() const {
  if (!valueMsb_) return std::nullopt;
  return fourteenBits(*valueMsb_, valueLsb_.value_or(0));
}

void Parameters::keep(Parameter parameter) {
  if (const auto value = known(); value && parameter == Parameter{true, PitchBendRange}) bendRange_ = *value;
}

}  // namespace midi
