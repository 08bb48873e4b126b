// Bytes and numbers as a user types them.
#pragma once

#include <charconv>
#include <concepts>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

namespace streamctl {

// The whole word as a number in this base; nullopt if it is not a number, has a sign although the type is unsigned, or
// does not fit.
template <class Number>
std::optional<Number> parseNumber(std::string_view word, int base = 10) {
  Number value{};
  const char* const end = word.data() + word.size();
  std::from_chars_result result{};
  if constexpr (std::integral<Number>) {
    result = std::from_chars(word.data(), end, value, base);
  } else {
    result = std::from_chars(word.data(), end, value);
  }
  if (result.ec != std::errc{} || result.ptr != end) return std::nullopt;
  return value;
}

// A byte, decimal or, after "0x", hexadecimal: "144", "0x90". Returns nullopt for any other word.
inline std::optional<std::uint8_t> parseByte(std::string_view word) {
  const bool hexadecimal = word.starts_with("0x") || word.starts_with("0X");
  return hexadecimal ? parseNumber<std::uint8_t>(word.substr(2), 16) : parseNumber<std::uint8_t>(word);
}

}  // namespace streamctl
