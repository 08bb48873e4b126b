#include "platform/midi/smf_bytes.h"

namespace service {

std::optional<std::uint32_t> SmfReader::number(std::size_t count) {
  const auto bytes = take(count);
  if (!bytes) return std::nullopt;
  std::uint32_t value = 0;
  for (const std::uint8_t byte : *bytes) value = value << 8U | byte;
  return value;
}

std::optional<std::uint32_t> SmfReader::variable() {
  constexpr std::size_t MaxBytes = 4;
  std::uint32_t value = 0;
  for (std::size_t count = 0; count < MaxBytes && count < left(); ++count) {
    const std::uint8_t byte = bytes_[next_ + count];
    value = value << 7U | (byte & 0x7FU);
    if (byte >= 0x80) continue;
    next_ += count + 1;
    return value;
  }
  return std::nullopt;
}

std::optional<std::span<const std::uint8_t>> SmfReader::take(std::size_t count) {
  if (count > left()) return std::nullopt;
  const auto bytes = bytes_.subspan(next_, count);
  next_ += count;
  return bytes;
}

void appendNumber(std::vector<std::uint8_t>& out, std::uint32_t value, std::size_t count) {
  while (count-- > 0) out.push_back(static_cast<std::uint8_t>(value >> 8U * count & 0xFFU));
}

void appendVariable(std::vector<std::uint8_t>& out, std::uint32_t value) {
  constexpr unsigned Bits = 7;
  constexpr std::uint8_t More = 0x80;
  for (unsigned shift = 3 * Bits; shift > 0; shift -= Bits) {
    if (value >> shift != 0) out.push_back(static_cast<std::uint8_t>(More | (value >> shift & 0x7FU)));
  }
  out.push_back(static_cast<std::uint8_t>(value & 0x7FU));
}

}  // namespace service
