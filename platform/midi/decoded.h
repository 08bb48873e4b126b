// A message in words.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/midi/message_type.h"

namespace midi {

// The parts of messages, for programs.
using FieldValue = std::variant<std::int64_t, double, std::string>;

struct Field {
  std::string_view name;  // one of DecodedFields
  FieldValue value;
  friend bool operator==(const Field&, const Field&) = default;
};

struct Decoded {
  MessageType type = MessageType::Other;
  std::string text;           // printable ASCII, one line
  std::vector<Field> fields;  // in the order of DecodedFields; each at most once

  void add(std::string_view name, FieldValue value) { fields.push_back({name, std::move(value)}); }
};

enum class FieldKind : std::uint8_t { Integer, Number, String };

struct FieldDescription {
  std::string_view name;
  FieldKind kind;
};

// Every field that a decoded message may have.
inline constexpr auto DecodedFields = std::to_array<FieldDescription>({
    {"event", FieldKind::String},             // what happened: "note on", "clock"
    {"note", FieldKind::String},              // "C4"
    {"number", FieldKind::Integer},           // of the note, controller, program, song, or quarter frame
    {"controller", FieldKind::String},        // its name
    {"velocity", FieldKind::Integer},         // 0 to 127
    {"value", FieldKind::Integer},            // of a controller or pressure, 0 to 127; of a bend, -8192 to 8191
    {"semitones", FieldKind::Number},         // of a bend
    {"parameter", FieldKind::String},         // "RPN 0", "NRPN 1234"
    {"parameter_name", FieldKind::String},    // "pitch bend range"
    {"parameter_value", FieldKind::Integer},  // 0 to 16383
    {"sixteenths", FieldKind::Integer},       // song position, from 0
    {"bar", FieldKind::Integer},              // song position in 4/4, from 1
    {"beat", FieldKind::Integer},             // 1 to 4
    {"sixteenth", FieldKind::Integer},        // 1 to 4
    {"bpm", FieldKind::Number},               // tempo of a clock
    {"size", FieldKind::Integer},             // of system exclusive, in bytes
    {"maker", FieldKind::String},             // of system exclusive, also of an identity reply
    {"message", FieldKind::String},           // what a universal message is for
    {"device", FieldKind::Integer},           // whom it is for or from, 0 to 126; 127 for all
    {"time_code", FieldKind::String},         // "01:02:03:04", drop frame "01:02:03;04"
    {"fps", FieldKind::Number},               // 24, 25, 29.97 or 30
});

}  // namespace midi
