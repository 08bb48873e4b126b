// Where typed bytes come from.
#pragma once

namespace flowscope {

// What KeySource::readByte answers besides the bytes 0 to 255.
inline constexpr int EndOfInput = -1;
inline constexpr int InputResumed = -2;  // the program was stopped and goes on: the screen wants its prompt again

class KeySource {
 public:
  KeySource() = default;
  KeySource(const KeySource&) = delete;
  KeySource& operator=(const KeySource&) = delete;
  virtual ~KeySource() = default;

  // Blocks for the next byte and answers it, 0 to 255, or EndOfInput when there will be no more, or InputResumed.
  virtual int readByte() = 0;

  // Makes the reading that goes on now and every later one answer EndOfInput. From any thread. A source that never
  // blocks needs no version of its own.
  virtual void stop() {}

  // The program was stopped and goes on: the reading that goes on now, or else the next one, answers InputResumed;
  // several notices before it are one. From any thread, and from a signal handler. A source without a screen behind
  // it needs no version of its own.
  virtual void notifyResumed() noexcept {}
};

}  // namespace flowscope
