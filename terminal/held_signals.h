// Lets a thread finish a few steps before a signal ends the program, without a system call.
#pragma once

#include <atomic>
#include <chrono>

namespace flowscope {

// Between begin and end, on the same thread, a handler that asks holdSignal leaves what the thread changes alone: the
// signal is raised again when the outermost pair ends. For short steps; a write between may block only as a
// BlockingStep, and must be given up when it returns EINTR or EAGAIN.
void beginHoldingSignals() noexcept;
void endHoldingSignals() noexcept;

// For signal handlers. Returns true if this thread holds signals: then the handler returns, and the thread raises the
// signal soon. A thread holds one signal only; false for a second one, so that a thread that is stuck can be ended.
bool holdSignal(int signal) noexcept;

// Whether this thread holds signals now. For signal handlers.
bool isHoldingSignals() noexcept;

// One write that may block, by a thread that holds signals. A signal that comes during the write interrupts it; one
// that comes just before would only be handled when the write ends. So for a pipe, a terminal or a socket, the handler
// that holds the signal ensures that no later write of this process to the descriptor blocks. The flags that other
// processes share stay, except for the time of the write where the descriptor cannot be opened again. One at a time on
// a thread.
class BlockingStep {
 public:
  explicit BlockingStep(int descriptor) noexcept;
  BlockingStep(const BlockingStep&) = delete;
  BlockingStep& operator=(const BlockingStep&) = delete;
  ~BlockingStep();

  // True if a signal came before: then do not write.
  bool isTooLate() const noexcept;
};

// The time that a signal handler has to write what waits: 100 milliseconds, from its construction on.
class PartingTime {
 public:
  PartingTime() noexcept;

  // Milliseconds; 0 when the time is over.
  int left() const noexcept;

 private:
  std::chrono::steady_clock::time_point end_;
};

// A lock for state that signal handlers use as well. Its owner holds signals, so a handler never waits for the thread
// that it interrupts. Who waits for the lock holds none.
class SignalSafeLock {
 public:
  SignalSafeLock() = default;
  SignalSafeLock(const SignalSafeLock&) = delete;
  SignalSafeLock& operator=(const SignalSafeLock&) = delete;

  void lock() noexcept;
  void unlock() noexcept;

  // For signal handlers: waits no longer than the time allows. Returns whether the caller has the lock.
  bool lockWithin(const PartingTime& time) noexcept;

 private:
  bool tryLock() noexcept;

  std::atomic_flag taken_ = ATOMIC_FLAG_INIT;
};

}  // namespace flowscope
