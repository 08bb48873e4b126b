// Decodes typed bytes into key codes.
#pragma once

#include <optional>

namespace flowscope {

// Recognises escape sequences by their bytes alone, never by time: a lone ESC waits for the next byte. A byte that does
// not continue the sequence ends it and is delivered as itself; the bytes before it are lost.
class KeyDecoder {
 public:
  // Takes one byte. Returns the key that it completes, a byte value 0 to 255 or a numbered key; nullopt while a
  // sequence is open.
  std::optional<int> feed(unsigned char byte);

 private:
  enum class State { Empty, Escape, EscapeBracket, EscapeBracketDigit };

  State state_ = State::Empty;
  unsigned char digit_ = 0;  // in state EscapeBracketDigit
};

}  // namespace flowscope
