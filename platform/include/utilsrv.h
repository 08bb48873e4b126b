// Threads of the system-service library.
#pragma once

#include <pthread.h>

namespace UtilSrv {

// One thread of execution, running from construction on.
class Thread {
 public:
  using Entry = void (*)(void* argument);

  // Starts a thread that calls entry(argument). name is shown by process tools, cut to 15 bytes; null leaves the
  // thread unnamed. Throws std::system_error when the system refuses another thread.
  Thread(Entry entry, void* argument, const char* name);

  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

  // Waits until the thread has ended, then releases it. On the thread itself it does not wait: the thread is
  // released when it ends.
  ~Thread();

  // Ends the calling thread, unwinding its stack; code is what the thread answers to whoever waits for it. Only
  // for threads that this class started.
  [[noreturn]] static void exit(int code);

 private:
  pthread_t thread_{};
};

}  // namespace UtilSrv
