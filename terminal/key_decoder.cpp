#include "terminal/key_decoder.h"

#include <utility>

#include "terminal/key_codes.h"

namespace flowscope {
namespace {

constexpr unsigned char Escape = 0x1b;

int arrowKey(unsigned char letter) {
  switch (letter) {
    case 'A':
      return KeyUp;
    case 'B':
      return KeyDown;
    case 'C':
      return KeyRight;
    case 'D':
      return KeyLeft;
    default:
      return letter;
  }
}

bool opensNumberedKey(unsigned char byte) { return byte == '1' || (byte >= '3' && byte <= '6'); }

int numberedKey(unsigned char digit) {
  switch (digit) {
    case '1':
      return KeyHome;
    case '3':
      return KeyDelete;
    case '4':
      return KeyEnd;
    case '5':
      return KeyPageUp;
    default:
      return KeyPageDown;
  }
}

}  // namespace

std::optional<int> KeyDecoder::feed(unsigned char byte) {
  const State before = std::exchange(state_, State::Empty);
  if (byte == Escape) {
    state_ = State::Escape;
    return std::nullopt;
  }
  if (before == State::Escape && byte == '[') {
    state_ = State::EscapeBracket;
    return std::nullopt;
  }
  if (before == State::EscapeBracket && opensNumberedKey(byte)) {
    state_ = State::EscapeBracketDigit;
    digit_ = byte;
    return std::nullopt;
  }
  if (before == State::EscapeBracket) return arrowKey(byte);
  if (before == State::EscapeBracketDigit && byte == '~') return numberedKey(digit_);
  return byte;
}

}  // namespace flowscope
