// A text of bounded length under construction.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace flowscope {

// Appends texts and numbers up to a fixed length; cuts what does not fit. Allocates nothing.
class TextPiece {
 public:
  // The longest text is one character shorter: the limit counts a terminator.
  static constexpr std::size_t Limit = 1024;

  // Starts a new text. A new object is empty already.
  TextPiece& clear() {
    length_ = 0;
    return *this;
  }

  TextPiece& append(std::string_view text);

  // "0x" and at least two upper-case digits ("0x%02X").
  TextPiece& appendHex(std::uint16_t value) { return appendNumber(value, "0123456789ABCDEF"); }

  // "0x" and at least two lower-case digits ("0x%02x").
  TextPiece& appendLowerHex(std::uint16_t value) { return appendNumber(value, "0123456789abcdef"); }

  TextPiece& appendDecimal(std::size_t value);

  // Appends a newline; it replaces the last character if the text is full, so that a line stays a line.
  TextPiece& endLine();

  // Returns the text so far; valid until the next call that changes it.
  std::string_view view() const { return {characters_.data(), length_}; }

 private:
  TextPiece& appendNumber(std::uint16_t value, const char* digits);

  std::array<char, Limit> characters_;
  std::size_t length_ = 0;
};

}  // namespace flowscope
