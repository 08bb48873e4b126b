// Threads of the system-service library.
#pragma once

#include <pthread.h>

namespace UtilSrv {

// One thread, which runs from construction on.
class Thread {
 public:
  using Entry = void (*)(void* argument);

  // Starts a thread that calls entry(argument). Process tools show name, cut to 15 bytes; null leaves the thread
  // unnamed. Throws std::system_error if the system refuses another thread.
  Thread(Entry entry, void* argument, const char* name);

  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

  // Blocks until the thread has ended, then releases it. On the thread itself it does not block: the thread is released
  // when it ends.
  ~Thread();

  // Ends the calling thread and unwinds its stack. code is the thread's exit value for a thread that joins it. Only for
  // threads that this class started.
  [[noreturn]] static void exit(int code);

 private:
  pthread_t thread_{};
};

}  // namespace UtilSrv
