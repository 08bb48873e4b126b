#include "platform/streamctl/event_lines.h"

#include <array>
#include <charconv>
#include <variant>

#include "platform/streamctl/json_text.h"
#include "platform/system/printable.h"
#include "platform/wire/events.h"

namespace streamctl {
namespace {

// " 0x90" for each byte. Must be fast: messages of a million bytes and a million messages a second are possible.
void appendHexadecimal(std::span<const std::uint8_t> bytes, std::string& out) {
  constexpr std::string_view Digits = "0123456789ABCDEF";
  const std::size_t before = out.size();
  out.resize(before + 5 * bytes.size());
  char* at = out.data() + before;
  for (const std::uint8_t byte : bytes) {
    *at++ = ' ';
    *at++ = '0';
    *at++ = 'x';
    *at++ = Digits[byte >> 4U];
    *at++ = Digits[byte & 0x0FU];
  }
}

void appendDecimals(std::span<const std::uint8_t> bytes, std::string& out) {
  for (const std::uint8_t byte : bytes) {
    if (byte >= 100) out += static_cast<char>('0' + byte / 100);
    if (byte >= 10) out += static_cast<char>('0' + byte / 10 % 10);
    out += static_cast<char>('0' + byte % 10);
    out += ',';
  }
  if (!bytes.empty()) out.pop_back();
}

bool isOnChannel(const midi::Decoded& decoded, std::uint16_t group) {
  return midi::hasChannel(decoded.type) && group < midi::MidiChannels;
}

void appendChannel(const midi::Decoded& decoded, std::uint16_t group, std::string& out) {
  if (!midi::hasChannel(decoded.type)) {
    out += '-';
  } else if (isOnChannel(decoded, group)) {
    out += "ch";
    appendNumber(group + std::uint64_t{1}, out);
  } else {
    out += "group";
    appendNumber(group, out);
  }
}

void appendValue(const midi::FieldValue& value, std::string& out) {
  if (const auto* text = std::get_if<std::string>(&value)) {
    out += jsonText(std::string_view(*text), -1);
    return;
  }
  std::array<char, 32> digits{};
  const auto write = [&](auto number) { return std::to_chars(digits.data(), digits.data() + digits.size(), number); };
  const auto* integer = std::get_if<std::int64_t>(&value);
  const auto result = integer != nullptr ? write(*integer) : write(std::get<double>(value));
  out.append(digits.data(), result.ptr);
}

// Behind "bytes": what the message means.
void appendFields(const midi::Decoded& decoded, std::uint16_t group, std::string& out) {
  out.append(",\"type\":\"").append(midi::wordOf(decoded.type)).append(1, '"');
  if (isOnChannel(decoded, group)) {
    out += ",\"channel\":";
    appendNumber(group + std::uint64_t{1}, out);
  }
  out.append(",\"text\":").append(jsonText(std::string_view(decoded.text), -1));
  for (const midi::Field& field : decoded.fields) {
    out.append(",\"").append(field.name).append("\":");
    appendValue(field.value, out);
  }
}

}  // namespace

bool EventLines::append(std::string_view port, std::span<const std::uint8_t> event, std::string& out) {
  const auto header = wire::readEventHeader(event);
  if (!header) return false;
  Port& from = known(port);
  wire::RecordReader records(event.subspan(wire::EventHeaderBytes), header->bigEndian);
  while (const auto record = records.next()) {
    const device::Message message{record->group, record->message};
    const midi::Decoded* decoded = nullptr;
    // Also what is not printed: what follows may depend on it.
    if (style_.decode) decoded = &from.decoder.decode(message, device::Time(header->time));
    if (!style_.filter.passes(message)) continue;
    times_.print(header->time);
    appendFront(from, out);
    appendMessage(message, decoded, out);
  }
  return records.ok();
}

void EventLines::appendFront(const Port& port, std::string& out) const {
  const bool timed = times_.form() != TimeForm::None;
  if (form_ == LineForm::Text) {
    times_.appendText(out);
    if (timed) out += ' ';
    out.append(port.shown).append(1, ' ');
    return;
  }
  out += '{';
  if (timed) {
    out += "\"time_ns\":";
    times_.appendNanoseconds(out);
    out += ',';
  }
  out.append("\"port\":").append(port.shown).append(",\"group\":");
}

void EventLines::appendMessage(const device::Message& message, const midi::Decoded* decoded, std::string& out) const {
  if (form_ == LineForm::Json) {
    appendNumber(message.group, out);
    out += ",\"bytes\":[";
    appendDecimals(message.bytes, out);
    out += ']';
    if (decoded != nullptr) appendFields(*decoded, message.group, out);
    out += '}';
  } else if (decoded != nullptr) {
    appendChannel(*decoded, message.group, out);
    out.append(1, ' ').append(decoded->text);
  } else {
    appendNumber(message.group, out);
    appendHexadecimal(message.bytes, out);
  }
  out += '\n';
}

EventLines::Port& EventLines::known(std::string_view port) {
  const auto found = ports_.find(port);
  if (found != ports_.end()) return found->second;
  Port& added = ports_[std::string(port)];
  added.shown = form_ == LineForm::Text ? sys::printable(port) : jsonText(port, -1);
  return added;
}

}  // namespace streamctl
