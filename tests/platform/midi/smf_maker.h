// Standard MIDI Files made byte by byte.
#pragma once

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace midi {

using ByteVector = std::vector<std::uint8_t>;

// The bytes of "90 3C 40".
inline ByteVector fromHex(std::string_view text) {
  ByteVector bytes;
  unsigned value = 0;
  int digits = 0;
  for (const char letter : text) {
    if (letter == ' ') continue;
    value = value * 16 + static_cast<unsigned>(letter <= '9' ? letter - '0' : letter - 'A' + 10);
    if (++digits % 2 == 0) {
      bytes.push_back(static_cast<std::uint8_t>(value));
      value = 0;
    }
  }
  return bytes;
}

inline std::string toHex(const ByteVector& bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    constexpr const char* Digits = "0123456789ABCDEF";
    if (!text.empty()) text += ' ';
    text += {Digits[byte >> 4U], Digits[byte & 15U]};
  }
  return text;
}

inline void append(ByteVector& out, const ByteVector& more) { out.insert(out.end(), more.begin(), more.end()); }

inline ByteVector bigEndian(std::size_t value) {
  return {static_cast<std::uint8_t>(value >> 24U), static_cast<std::uint8_t>(value >> 16U),
          static_cast<std::uint8_t>(value >> 8U), static_cast<std::uint8_t>(value)};
}

inline ByteVector chunk(std::string_view kind, const ByteVector& content) {
  ByteVector bytes(kind.begin(), kind.end());
  append(bytes, bigEndian(content.size()));
  append(bytes, content);
  return bytes;
}

// A file with this header content ("00 01 00 02 01 E0") and these tracks, each given as hexadecimal text.
inline ByteVector smf(std::string_view header, const std::vector<std::string>& tracks) {
  ByteVector file = chunk("MThd", fromHex(header));
  for (const std::string& track : tracks) append(file, chunk("MTrk", fromHex(track)));
  return file;
}

inline void writeFile(const std::string& path, const ByteVector& bytes) {
  std::ofstream out(path, std::ios::binary);
  for (const std::uint8_t byte : bytes) out.put(static_cast<char>(byte));
}

inline void writeFile(const std::string& path, std::string_view text) {
  writeFile(path, ByteVector(text.begin(), text.end()));
}

}  // namespace midi
