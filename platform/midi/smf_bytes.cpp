#include "platform/midi/smf_bytes.h"

namespace midi {

std::uint32_t SmfReader::number(std::size_t count) {
  std::uint32_t value = 0;
  for (const std::uint8_t byte : take(count, name_).rest()) value = value << 8U | byte;
  return value;
}

std::uint32_t SmfReader::variable() {
  constexpr std::size_t MaxBytes = 4;
  SmfReader ahead = *this;
  std::uint32_t value = 0;
  for (std::size_t count = 0; count < MaxBytes; ++count) {
    const std::uint8_t byte = ahead.byte();
    value = value << 7U | (byte & 0x7FU);
    if (byte >= 0x80) continue;
    *this = ahead;
    return value;
  }
  throw SmfProblem(offset_, "variable-length number longer than four bytes");
}

SmfReader SmfReader::take(std::size_t count, const char* name) {
  if (count > rest_.size()) throw SmfProblem(offset_, std::string(name_) + " ends too early");
  const SmfReader taken(rest_.first(count), name, offset_);
  rest_ = rest_.subspan(count);
  offset_ += count;
  return taken;
}

}  // namespace midi
