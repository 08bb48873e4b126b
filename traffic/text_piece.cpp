#include "traffic/text_piece.h"

#include <algorithm>
#include <charconv>

namespace flowscope {

namespace {

constexpr std::size_t MaximumLength = TextPiece::Limit - 1;

}  // namespace

TextPiece& TextPiece::append(std::string_view text) {
  const std::size_t count = std::min(text.size(), MaximumLength - length_);
  std::copy_n(text.data(), count, characters_.data() + length_);
  length_ += count;
  return *this;
}

TextPiece& TextPiece::appendNumber(std::uint16_t value, const char* digits) {
  std::array<char, 6> text{'0', 'x'};
  std::size_t length = 2;
  for (int shift = 12; shift >= 0; shift -= 4) {
    if (shift <= 4 || value >> shift != 0) text[length++] = digits[value >> shift & 0xF];
  }
  return append({text.data(), length});
}

TextPiece& TextPiece::appendDecimal(std::size_t value) {
  std::array<char, 20> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
  return append({text.data(), static_cast<std::size_t>(end - text.data())});
}

TextPiece& TextPiece::endLine() {
  length_ = std::min(length_, MaximumLength - 1);
  return append("\n");
}

}  // namespace flowscope
