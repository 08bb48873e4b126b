#include "platform/streamctl/event_lines.h"

#include <array>
#include <charconv>

#include "platform/streamctl/json_text.h"
#include "platform/system/printable.h"
#include "platform/wire/events.h"

namespace streamctl {
namespace {

constexpr std::uint64_t NanosecondsPerSecond = 1'000'000'000;

void appendNumber(std::uint64_t number, std::string& out) {
  std::array<char, 20> digits{};
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number);
  out.append(digits.data(), result.ptr);
}

void appendSeconds(std::uint64_t nanoseconds, std::string& out) {
  appendNumber(nanoseconds / NanosecondsPerSecond, out);
  std::array<char, 10> decimals{'.'};
  std::uint64_t rest = nanoseconds % NanosecondsPerSecond;
  for (std::size_t place = decimals.size() - 1; place > 0; --place, rest /= 10) {
    decimals.at(place) = static_cast<char>('0' + rest % 10);
  }
  out.append(decimals.data(), decimals.size());
}

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

}  // namespace

bool EventLines::append(std::string_view port, std::span<const std::uint8_t> event, std::string& out) {
  const auto header = wire::readEventHeader(event);
  if (!header) return false;
  front_.clear();
  if (form_ == LineForm::Text) {
    appendSeconds(header->time, front_);
    front_.append(1, ' ').append(shown(port)).append(1, ' ');
  } else {
    front_.append("{\"time_ns\":");
    appendNumber(header->time, front_);
    front_.append(",\"port\":").append(shown(port)).append(",\"group\":");
  }
  wire::RecordReader records(event.subspan(wire::EventHeaderBytes), header->bigEndian);
  while (const auto record = records.next()) {
    out += front_;
    appendNumber(record->group, out);
    if (form_ == LineForm::Text) {
      appendHexadecimal(record->message, out);
      out += '\n';
    } else {
      out += ",\"bytes\":[";
      appendDecimals(record->message, out);
      out += "]}\n";
    }
  }
  return records.ok();
}

const std::string& EventLines::shown(std::string_view port) {
  const auto known = shown_.find(port);
  if (known != shown_.end()) return known->second;
  return shown_.emplace(port, form_ == LineForm::Text ? sys::printable(port) : jsonText(port, -1)).first->second;
}

}  // namespace streamctl
