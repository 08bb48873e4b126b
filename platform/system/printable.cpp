#include "platform/system/printable.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace sys {
namespace {

struct Range {
  char32_t first;
  char32_t last;
};

// In ascending order: controls and line separators; Unicode's Default_Ignorable_Code_Point (characters that show
// nothing or change the text direction); annotation marks; and values that are no character.
constexpr std::array Hidden{
    Range{0x00, 0x1F},     Range{0x7F, 0x9F},       Range{0xAD, 0xAD},       Range{0x034F, 0x034F},
    Range{0x061C, 0x061C}, Range{0x115F, 0x1160},   Range{0x17B4, 0x17B5},   Range{0x180B, 0x180F},
    Range{0x200B, 0x200F}, Range{0x2028, 0x202E},   Range{0x2060, 0x206F},   Range{0x3164, 0x3164},
    Range{0xFDD0, 0xFDEF}, Range{0xFE00, 0xFE0F},   Range{0xFEFF, 0xFEFF},   Range{0xFFA0, 0xFFA0},
    Range{0xFFF0, 0xFFFB}, Range{0x1BCA0, 0x1BCA3}, Range{0x1D173, 0x1D17A}, Range{0xE0000, 0xE0FFF},
};

bool isHidden(char32_t character) {
  const auto* const range = std::ranges::lower_bound(Hidden, character, {}, &Range::last);
  const bool isNone = (character & 0xFFFEU) == 0xFFFEU;
  return isNone || (range != Hidden.end() && range->first <= character);
}

struct Decoded {
  char32_t character = 0;
  std::size_t size = 0;  // in bytes; 0 if no character begins here
};

// Returns the first character of text, which must not be empty.
Decoded decode(std::string_view text) {
  const auto byteAt = [&](std::size_t at) { return static_cast<std::uint8_t>(text[at]); };
  const std::uint8_t lead = byteAt(0);
  if (lead < 0x80) return {lead, 1};
  const std::size_t size = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < size) return {};
  auto character = static_cast<char32_t>(lead & (0x7FU >> size));
  for (std::size_t at = 1; at < size; ++at) {
    if ((byteAt(at) & 0xC0U) != 0x80) return {};
    character = character << 6U | (byteAt(at) & 0x3FU);
  }
  constexpr std::array<char32_t, 5> Least{0, 0, 0x80, 0x800, 0x10000};
  const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
  if (character < Least.at(size) || isSurrogate || character > 0x10FFFF) return {};
  return {character, size};
}

void appendEscaped(std::string& shown, char byte) {
  constexpr std::string_view Digits = "0123456789ABCDEF";
  const auto value = static_cast<std::uint8_t>(byte);
  shown.append("\\x") += Digits[value >> 4U];
  shown += Digits[value & 0xFU];
}

bool isContinuation(char byte) { return (static_cast<std::uint8_t>(byte) & 0xC0U) == 0x80; }

}  // namespace

std::string printable(std::string_view text, TextEncoding encoding) {
  std::string shown;
  while (!text.empty()) {
    const Decoded next = decode(text);
    const bool isKnown = next.size == 1 || (next.size > 1 && encoding == TextEncoding::Utf8);
    const std::size_t size = isKnown ? next.size : 1;
    if (isKnown && !isHidden(next.character)) {
      shown += text.substr(0, size);
    } else {
      for (const char byte : text.substr(0, size)) appendEscaped(shown, byte);
    }
    text.remove_prefix(size);
  }
  return shown;
}

std::string printable(std::string_view text) { return printable(text, environmentEncoding()); }

std::string replaceHidden(std::string_view text, const std::function<std::string(char32_t hidden)>& escape) {
  std::string shown;
  while (!text.empty()) {
    const Decoded next = decode(text);
    const std::size_t size = std::max<std::size_t>(next.size, 1);
    if (next.size > 0 && isHidden(next.character)) {
      shown += escape(next.character);
    } else {
      shown += text.substr(0, size);
    }
    text.remove_prefix(size);
  }
  return shown;
}

std::size_t columns(std::string_view text) {
  return text.size() - static_cast<std::size_t>(std::ranges::count_if(text, isContinuation));
}

}  // namespace sys
