// The receiver of decoded keys.
#pragma once

namespace flowscope {

// Only the input thread calls it.
class KeySink {
 public:
  KeySink() = default;
  KeySink(const KeySink&) = delete;
  KeySink& operator=(const KeySink&) = delete;
  virtual ~KeySink() = default;

  // Returns when the key, and any command that it started, is done.
  virtual void handleKey(int code) = 0;

  // The program was stopped and continues.
  virtual void inputResumed() = 0;

  // No more keys come.
  virtual void inputEnded() = 0;
};

}  // namespace flowscope
