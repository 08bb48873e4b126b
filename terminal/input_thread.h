// The thread that reads the keyboard and executes what the user types.
#pragma once

#include <utilsrv.h>

#include <atomic>
#include <optional>

#include "terminal/key_sink.h"
#include "terminal/key_source.h"

namespace flowscope {

// The input thread runs while this is true; it checks before each byte and after each key. Process-wide, because there
// is one keyboard.
inline std::atomic<bool> inputRunning{true};

static_assert(std::atomic<bool>::is_always_lock_free, "the flag stands for a plain byte");

class InputThread {
 public:
  // Starts the thread, which waits at its gate, and sets inputRunning. The source and the sink are borrowed and not
  // used before the gate is open. Throws std::system_error if the system refuses another thread.
  InputThread(KeySource& source, KeySink& sink);
  InputThread(const InputThread&) = delete;
  InputThread& operator=(const InputThread&) = delete;

  // Stops and joins the thread. Do not call it on the thread itself.
  ~InputThread();

  // Lets the thread read and handle keys. The thread sees everything that the caller did before.
  void openGate();

  // Clears inputRunning, wakes the thread if it waits for a byte, and blocks until the thread has handled its last key
  // and ended. No more keys are read. Do not call it on the thread itself; a second call has no effect.
  void finish();

 private:
  enum class Gate { Closed, Open, Cancelled };

  static void run(void* self);
  void readKeys();

  KeySource& source_;
  KeySink& sink_;
  std::atomic<Gate> gate_{Gate::Closed};
  std::optional<UtilSrv::Thread> thread_;  // last: the thread uses the members above
};

}  // namespace flowscope
