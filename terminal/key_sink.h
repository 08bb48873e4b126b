// Where decoded keys go.
#pragma once

namespace flowscope {

// Called by the input thread alone.
class KeySink {
 public:
  KeySink() = default;
  KeySink(const KeySink&) = delete;
  KeySink& operator=(const KeySink&) = delete;
  virtual ~KeySink() = default;

  // Answers when the key, and any command that it started, is done.
  virtual void handleKey(int code) = 0;

  // The program was stopped and goes on.
  virtual void inputResumed() = 0;

  // There will be no more keys.
  virtual void inputEnded() = 0;
};

}  // namespace flowscope
