// The source of typed bytes.
#pragma once

namespace flowscope {

// What KeySource::readByte returns besides the bytes 0 to 255.
inline constexpr int EndOfInput = -1;
inline constexpr int InputResumed = -2;  // the program was stopped and continues: draw the prompt again

class KeySource {
 public:
  KeySource() = default;
  KeySource(const KeySource&) = delete;
  KeySource& operator=(const KeySource&) = delete;
  virtual ~KeySource() = default;

  // Blocks for the next byte and returns it, 0 to 255; returns EndOfInput if no more bytes come, or InputResumed.
  virtual int readByte() = 0;

  // Makes the current call of readByte and all later ones return EndOfInput. Any thread may call it. A source that
  // never blocks need not override it.
  virtual void stop() {}

  // The program was stopped and continues: the current call of readByte, or else the next one, returns InputResumed;
  // several notices before that count as one. Any thread and any signal handler may call it. A source without a screen
  // need not override it.
  virtual void notifyResumed() noexcept {}
};

}  // namespace flowscope
