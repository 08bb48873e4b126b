// Registered and non-registered parameters (RPN, NRPN) of one channel, which take several controllers to select and
// set.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace midi {

struct Parameter {
  bool registered = true;
  std::uint16_t number = 0;  // 14 bits
  friend bool operator==(const Parameter&, const Parameter&) = default;
};

// "RPN 0", "NRPN 1234".
std::string numberText(Parameter parameter);

// The name of a registered parameter behind its number, if it has one: "RPN 0 pitch bend range".
std::string parameterText(Parameter parameter);

// A value in the parameter's unit: "12.00 semitones", "896".
std::string valueText(Parameter parameter, std::uint16_t value);

// What a controller did to the parameters of its channel.
struct ParameterStep {
  enum class Kind : std::uint8_t {
    Selecting,  // half of a number; the other half is not known
    Selected,   // a parameter
    None,       // no parameter is selected from now on
    Set,        // the value
    Stepped,    // the value went up or down by one step
    Ignored     // a value without a selected parameter
  };
  Kind kind = Kind::Ignored;
  Parameter parameter;                 // if selected
  std::optional<std::uint16_t> value;  // 14 bits; Set and Stepped: the new value, if it is known
  friend bool operator==(const ParameterStep&, const ParameterStep&) = default;
};

// Follows the controllers of one channel. The upper seven bits of a value set the lower ones to 0, unless only the
// lower ones came before.
class Parameters {
 public:
  // A control change: number and value are data bytes. Returns nullopt if the controller is none of these.
  std::optional<ParameterStep> control(std::uint8_t number, std::uint8_t value);

  // Selects no parameter, as the controller "reset all controllers" does. The bend range stays.
  void deselect();

  // Both ways from the centre, in semitones. 2 until RPN 0 sets it.
  double bendRange() const;

 private:
  ParameterStep select(bool registered, bool upper, std::uint8_t value);
  ParameterStep enter(bool upper, std::uint8_t value);
  ParameterStep step(bool up);
  std::optional<Parameter> selected() const;
  std::optional<std::uint16_t> known() const;
  void keep(Parameter parameter);

  bool registered_ = true;
  std::optional<std::uint8_t> numberMsb_;
  std::optional<std::uint8_t> numberLsb_;
  std::optional<std::uint8_t> valueMsb_;
  std::optional<std::uint8_t> valueLsb_;
  std::uint16_t bendRange_ = 2U << 7U;
};

}  // namespace midi
