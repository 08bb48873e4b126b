#include "platform/midi/message_decoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

#include "platform/midi/controller_names.h"
#include "platform/midi/exclusive_words.h"
#include "platform/midi/hex_text.h"
#include "platform/midi/midi_bytes.h"

namespace midi {
namespace {

// Sixteen groups of sixteen channels.
constexpr std::size_t KeptChannels = 256;

constexpr int BendCentre = 8192;

int dataWord(std::span<const std::uint8_t> bytes) { return bytes[2] << 7 | bytes[1]; }

std::string equals(std::int64_t value) { return " = " + std::to_string(value); }

std::string signedText(double number, int decimals) { return (number > 0 ? "+" : "") + decimalText(number, decimals); }

// Rounded, so that programs do not see the noise of the last digits. Never minus zero.
double rounded(double number) {
  constexpr double Thousandths = 1000;
  return std::round(number * Thousandths) / Thousandths + 0.0;
}

// General MIDI on, for all devices or one.
bool isGeneralMidiOn(std::span<const std::uint8_t> bytes) {
  constexpr std::size_t Bytes = 6;
  return bytes.size() == Bytes && bytes.front() == SystemExclusive && bytes.back() == EndOfExclusive &&
         bytes[1] == 0x7E && bytes[3] == 0x09 && (bytes[4] == 0x01 || bytes[4] == 0x03);
}

std::string stepText(const ParameterStep& step, bool up) {
  switch (step.kind) {
    case ParameterStep::Kind::Selecting:
      return {};
    case ParameterStep::Kind::Selected:
      return ": selects " + parameterText(step.parameter);
    case ParameterStep::Kind::None:
      return ": selects no parameter";
    case ParameterStep::Kind::Ignored:
      return ": no parameter selected";
    case ParameterStep::Kind::Set:
    case ParameterStep::Kind::Stepped:
      break;
  }
  const std::string name = ": " + parameterText(step.parameter);
  if (step.value) return name + " = " + valueText(step.parameter, *step.value);
  return step.kind == ParameterStep::Kind::Stepped ? name + (up ? " +1" : " -1") : name;
}

// Why bytes are no message. bytes: not empty.
std::string whyNone(std::span<const std::uint8_t> bytes) {
  const std::uint8_t status = bytes[0];
  if (!isStatusByte(status)) return "data without a status";
  if (isChannelStatus(status) && (status & 0x0F) != 0) return "a status with a channel, which is the group id's";
  if (status == SystemReset) return "a meta event";
  if (messageSize(status) == 0) return "an undefined status";
  return bytes.size() < messageSize(status) ? "cut short" : "more than one message, or data above 127";
}

}  // namespace

std::string noteName(std::uint8_t number) {
  constexpr std::array<std::string_view, 12> Names{"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};
  constexpr int LowestOctave = -1;
  return std::string(Names.at(number % Names.size())) +
         std::to_string(LowestOctave + number / static_cast<int>(Names.size()));
}

const Decoded& MessageDecoder::decode(const device::Message& message, device::Time time) {
  const auto bytes = message.bytes;
  decoded_.type = typeOf(bytes);
  decoded_.text.clear();
  decoded_.fields.clear();
  switch (decoded_.type) {
    case MessageType::Note:
      decodeNote(bytes);
      break;
    case MessageType::Pressure:
      decodePressure(bytes);
      break;
    case MessageType::Controller:
      decodeController(message.group, bytes[1], bytes[2]);
      break;
    case MessageType::Program:
      say("program");
      decoded_.text += ' ' + std::to_string(bytes[1]);
      decoded_.add("number", std::int64_t{bytes[1]});
      break;
    case MessageType::Bend:
      decodeBend(message.group, dataWord(bytes) - BendCentre);
      break;
    case MessageType::Exclusive:
      decodeExclusive(bytes);
      break;
    case MessageType::TimeCode:
      decodeQuarterFrame(bytes[1]);
      break;
    case MessageType::Position:
      decodePosition(dataWord(bytes));
      break;
    case MessageType::Song:
      say("song");
      decoded_.text += ' ' + std::to_string(bytes[1]);
      decoded_.add("number", std::int64_t{bytes[1]});
      break;
    case MessageType::Tune:
      say("tune request");
      break;
    case MessageType::Clock:
      decodeClock(time);
      break;
    case MessageType::Transport:
      say(bytes[0] == Start ? "start" : bytes[0] == Continue ? "continue" : "stop");
      break;
    case MessageType::Sense:
      say("active sensing");
      break;
    case MessageType::Reset:
      channels_.clear();
      say("system reset");
      break;
    case MessageType::Other:
      decodeOther(bytes);
      break;
  }
  return decoded_;
}

void MessageDecoder::decodeNote(std::span<const std::uint8_t> bytes) {
  const bool isOn = bytes[0] == NoteOn;
  const bool sounds = isOn && bytes[2] > 0;
  const std::string name = noteName(bytes[1]);
  decoded_.text = (isOn ? "note on " : "note off ") + name + " velocity " + std::to_string(bytes[2]);
  if (isOn && !sounds) decoded_.text += " (note off)";
  decoded_.add("event", sounds ? "note on" : "note off");
  decoded_.add("note", name);
  decoded_.add("number", std::int64_t{bytes[1]});
  decoded_.add("velocity", std::int64_t{bytes[2]});
}

void MessageDecoder::decodePressure(std::span<const std::uint8_t> bytes) {
  if (bytes[0] == ChannelPressure) {
    say("channel pressure");
  } else {
    say("note pressure");
    const std::string name = noteName(bytes[1]);
    decoded_.text += ' ' + name;
    decoded_.add("note", name);
    decoded_.add("number", std::int64_t{bytes[1]});
  }
  decoded_.text += equals(bytes.back());
  decoded_.add("value", std::int64_t{bytes.back()});
}

void MessageDecoder::decodeController(std::uint16_t group, std::uint8_t number, std::uint8_t value) {
  const std::string_view name = controllerName(number);
  say("controller");
  decoded_.text += ' ' + std::to_string(number);
  decoded_.add("number", std::int64_t{number});
  if (!name.empty()) {
    decoded_.text.append(" (").append(name).append(1, ')');
    decoded_.add("controller", std::string(name));
  }
  decoded_.text += equals(value);
  decoded_.add("value", std::int64_t{value});
  Parameters& parameters = channel(group);
  if (number == ResetAllControllers) parameters.deselect();
  const auto step = parameters.control(number, value);
  if (!step) return;
  decoded_.text += stepText(*step, number == DataIncrement);
  using Kind = ParameterStep::Kind;
  if (step->kind != Kind::Selected && step->kind != Kind::Set && step->kind != Kind::Stepped) return;
  decoded_.add("parameter", numberText(step->parameter));
  const auto* known = step->parameter.registered ? registeredParameter(step->parameter.number) : nullptr;
  if (known != nullptr) decoded_.add("parameter_name", std::string(known->name));
  if (step->value) decoded_.add("parameter_value", std::int64_t{*step->value});
}

void MessageDecoder::decodeBend(std::uint16_t group, int value) {
  const double semitones = value * channel(group).bendRange() / BendCentre;
  say("pitch bend");
  decoded_.text += ' ' + signedText(semitones, 2) + " semitones (" + signedText(value, 0) + ')';
  decoded_.add("value", std::int64_t{value});
  decoded_.add("semitones", rounded(semitones));
}

void MessageDecoder::decodeExclusive(std::span<const std::uint8_t> bytes) {
  if (isGeneralMidiOn(bytes)) channels_.clear();
  describeExclusive(bytes, decoded_);
}

void MessageDecoder::decodeQuarterFrame(std::uint8_t data) {
  say("quarter frame");
  decoded_.text += ' ' + std::to_string(data >> 4U);
  decoded_.add("number", std::int64_t{data >> 4U});
  const auto time = quarterFrames_.add(data);
  if (!time) return;
  decoded_.text += ": time code " + timeText(*time) + " at " + std::string(rateText(time->rate)) + " frames";
  decoded_.add("time_code", timeText(*time));
  decoded_.add("fps", framesPerSecond(time->rate));
}

void MessageDecoder::decodePosition(int sixteenths) {
  const int bar = sixteenths / 16 + 1;
  const int beat = sixteenths / 4 % 4 + 1;
  const int sixteenth = sixteenths % 4 + 1;
  say("song position");
  decoded_.text += " bar " + std::to_string(bar) + " beat " + std::to_string(beat) + " sixteenth " +
                   std::to_string(sixteenth) + " of 4/4 (" + std::to_string(sixteenths) + ')';
  decoded_.add("sixteenths", std::int64_t{sixteenths});
  decoded_.add("bar", std::int64_t{bar});
  decoded_.add("beat", std::int64_t{beat});
  decoded_.add("sixteenth", std::int64_t{sixteenth});
}

void MessageDecoder::decodeClock(device::Time time) {
  say("clock");
  const auto bpm = tempo_.add(time);
  if (!bpm) return;
  decoded_.text += ' ' + decimalText(*bpm, 1) + " bpm";
  decoded_.add("bpm", rounded(*bpm));
}

void MessageDecoder::decodeOther(std::span<const std::uint8_t> bytes) {
  constexpr std::size_t Shown = 8;
  say("no message");
  if (bytes.empty()) return;
  decoded_.text += ", " + whyNone(bytes) + ": " + hexText(bytes.first(std::min(bytes.size(), Shown)));
  if (bytes.size() > Shown) decoded_.text += " ...";
}

void MessageDecoder::say(std::string_view event) {
  decoded_.text = event;
  decoded_.add("event", std::string(event));
}

Parameters& MessageDecoder::channel(std::uint16_t group) {
  if (group >= KeptChannels) return unkept_ = Parameters();
  if (channels_.size() <= group) channels_.resize(group + std::size_t{1});
  return channels_[group];
}

}  // namespace midi
