// What leaves the process before a signal ends or stops it.
#pragma once

#include "terminal/held_signals.h"

namespace flowscope {

// Text that waits in memory. From enter() to leave(), the handlers of TerminalSignals have it written.
class PartingText {
 public:
  PartingText() = default;
  PartingText(const PartingText&) = delete;
  PartingText& operator=(const PartingText&) = delete;
  // Blocks while a handler runs on another thread.
  virtual ~PartingText();

  // Called in signal handlers, on any thread, for all texts before the first of them is written: what comes later, from
  // threads that still run, need not be written.
  virtual void endOnSignal(const PartingTime& /*time*/) noexcept {}

  // Called in signal handlers, on any thread: writes what waits within the time, and does nothing else.
  virtual void writeOnSignal(const PartingTime& time) noexcept = 0;

 protected:
  // A derived class calls this last in its constructor: handlers use the object from then on.
  void enter() noexcept;

  // A derived class calls this first in its own destructor: no handler uses the object afterwards.
  void leave() noexcept;

 private:
  friend void writePartingTexts() noexcept;

  PartingText* next_ = nullptr;
  bool isListed_ = false;
};

// For signal handlers: writes what waits in all such texts, the one made last first, in 100 milliseconds at most. Keeps
// errno.
void writePartingTexts() noexcept;

}  // namespace flowscope
