// Bytes as a person writes them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace wire {

// "01 02 'ab' 03": pairs of hexadecimal digits, and texts between single quotes.
inline std::vector<std::uint8_t> bytesOf(std::string_view text) {
  std::vector<std::uint8_t> bytes;
  for (std::size_t i = 0; i < text.size();) {
    if (text[i] == '\'') {
      const std::size_t end = text.find('\'', i + 1);
      for (const char c : text.substr(i + 1, end - i - 1)) bytes.push_back(static_cast<std::uint8_t>(c));
      i = end + 1;
    } else if (text[i] == ' ') {
      ++i;
    } else {
      bytes.push_back(static_cast<std::uint8_t>(std::stoul(std::string(text.substr(i, 2)), nullptr, 16)));
      i += 2;
    }
  }
  return bytes;
}

}  // namespace wire
