// Whatever messages a port carries, at whatever times: each has words that are safe to show, and fields of the table.
// What came before decides what a message means, so the same messages have the same words again.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "platform/midi/message_decoder.h"

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

void check(const midi::Decoded& decoded, std::span<const std::uint8_t> bytes) {
  require(decoded.type == midi::typeOf(bytes));
  require(!decoded.text.empty());
  for (const char c : decoded.text) require(c >= ' ' && c <= '~');
  auto from = midi::DecodedFields.begin();
  for (const midi::Field& field : decoded.fields) {
    from = std::find_if(from, midi::DecodedFields.end(), [&](const auto& known) { return known.name == field.name; });
    require(from != midi::DecodedFields.end());
    require(static_cast<std::size_t>(from->kind) == field.value.index());
    ++from;
  }
}

}  // namespace

// Each message: its size, two bytes of group id, one of time since the one before (in units of 4 ms), its bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::span rest(data, size);
  midi::MessageDecoder one;
  midi::MessageDecoder other;
  device::Time now{0};
  constexpr std::size_t Front = 4;
  while (rest.size() >= Front) {
    const std::size_t bytes = std::min<std::size_t>(rest[0], rest.size() - Front);
    const auto group = static_cast<std::uint16_t>(rest[1] << 8U | rest[2]);
    now += std::chrono::milliseconds(4 * rest[3]);
    // A copy of the exact size, so that the sanitizer sees each byte read behind it.
    const std::vector<std::uint8_t> message(rest.begin() + Front,
                                            rest.begin() + static_cast<std::ptrdiff_t>(Front + bytes));
    rest = rest.subspan(Front + bytes);
    const midi::Decoded& decoded = one.decode({group, message}, now);
    check(decoded, message);
    const midi::Decoded& again = other.decode({group, message}, now);
    require(again.text == decoded.text && again.fields == decoded.fields);
  }
  return 0;
}
