// Numbers as text.
#pragma once

#include <array>
#include <charconv>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace midi {

// "0x90 0x3C 0x40"; empty for no bytes.
inline std::string hexText(std::span<const std::uint8_t> bytes) {
  constexpr std::string_view Digits = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    if (!text.empty()) text += ' ';
    text += "0x";
    text += Digits[byte >> 4U];
    text += Digits[byte & 0x0FU];
  }
  return text;
}

inline std::string hexText(std::uint8_t byte) { return hexText(std::span(&byte, 1)); }

// With this many decimals, in every locale: "-1.50". Magnitudes below 10^15, up to 9 decimals.
inline std::string decimalText(double number, int decimals) {
  std::array<char, 32> text{};
  const auto result = std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed, decimals);
  return {text.data(), result.ptr};
}

}  // namespace midi
