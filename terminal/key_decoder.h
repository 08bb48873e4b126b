// Typed bytes to key codes.
#pragma once

#include <optional>

namespace flowscope {

// Recognises escape sequences by their bytes alone, never by time: a lone ESC waits for the byte that follows. A byte
// that does not go on with the sequence ends it and is delivered as itself; what was taken in before is lost.
class KeyDecoder {
 public:
  // Takes one byte. Answers the key that it completes, a byte value 0 to 255 or a numbered key, or nothing while a
  // sequence is open.
  std::optional<int> feed(unsigned char byte);

 private:
  enum class State { Empty, Escape, EscapeBracket, EscapeBracketDigit };

  State state_ = State::Empty;
  unsigned char digit_ = 0;  // in state EscapeBracketDigit
};

}  // namespace flowscope
