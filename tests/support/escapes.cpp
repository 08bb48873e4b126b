#include "tests/support/escapes.h"

#include <array>
#include <charconv>
#include <utility>

namespace testsupport {
namespace {

constexpr std::array<std::pair<char, char>, 7> Letters{
    {{'e', '\x1b'}, {'n', '\n'}, {'r', '\r'}, {'t', '\t'}, {'a', '\a'}, {'b', '\b'}, {'\\', '\\'}}};

constexpr std::string_view HexDigits = "0123456789abcdef";

}  // namespace

std::optional<std::string> unescape(std::string_view text) {
  std::string bytes;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '\\') {
      bytes += text[at];
      continue;
    }
    if (++at == text.size()) {
      return std::nullopt;
    }
    if (text[at] == 'x') {
      const std::string_view digits = text.substr(at + 1, 2);
      unsigned value = 0;
      const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
      if (digits.size() != 2 || error != std::errc() || end != digits.data() + digits.size()) {
        return std::nullopt;
      }
      bytes += static_cast<char>(static_cast<unsigned char>(value));
      at += 2;
      continue;
    }
    bool known = false;
    for (const auto& [letter, byte] : Letters) {
      if (letter == text[at]) {
        bytes += byte;
        known = true;
      }
    }
    if (!known) {
      return std::nullopt;
    }
  }
  return bytes;
}

std::string escape(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes) {
    bool done = false;
    for (const auto& [letter, value] : Letters) {
      if (value == byte) {
        text += '\\';
        text += letter;
        done = true;
      }
    }
    if (done) {
      continue;
    }
    const auto value = static_cast<unsigned char>(byte);
    if (value >= 0x20 && value < 0x7F) {
      text += byte;
    } else {
      text += "\\x";
      text += HexDigits[value >> 4];
      text += HexDigits[value & 0xF];
    }
  }
  return text;
}

}  // namespace testsupport
