// The thread that reads the keyboard, and on which everything the user types is executed.
#pragma once

#include <utilsrv.h>

#include <atomic>
#include <optional>

#include "terminal/key_sink.h"
#include "terminal/key_source.h"

namespace flowscope {

// The input thread goes on while it is true; looked at before each byte and after each key. Process-wide, as there is
// one keyboard.
inline std::atomic<bool> inputRunning{true};

static_assert(std::atomic<bool>::is_always_lock_free, "the flag stands for a plain byte");

class InputThread {
 public:
  // Starts the thread, which waits at its gate, and sets inputRunning. The source and the sink are borrowed, and not
  // touched before the gate is open. Throws std::system_error when the system refuses another thread.
  InputThread(KeySource& source, KeySink& sink);
  InputThread(const InputThread&) = delete;
  InputThread& operator=(const InputThread&) = delete;

  // Stops and joins the thread. Not on the thread itself.
  ~InputThread();

  // From now on keys are read and handled. What the caller did before is visible to the thread.
  void openGate();

  // Clears inputRunning, wakes the thread where it reads, and blocks until it has handled its last key and ended.
  // Keys are not read any more. Not on the thread itself; again has no effect.
  void finish();

 private:
  enum class Gate { Closed, Open, Cancelled };

  static void run(void* self);
  void readKeys();

  KeySource& source_;
  KeySink& sink_;
  std::atomic<Gate> gate_{Gate::Closed};
  std::optional<UtilSrv::Thread> thread_;  // last: the thread uses what stands above
};

}  // namespace flowscope
