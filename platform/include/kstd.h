// Base utilities of the system-service library.
#pragma once

#include <mutex>

namespace KSTD {

// A mutex for the threads of one process. Not recursive: a thread that locks it twice blocks forever. Works with
// std::lock_guard.
class KThreadMutex {
 public:
  KThreadMutex() = default;
  KThreadMutex(const KThreadMutex&) = delete;
  KThreadMutex& operator=(const KThreadMutex&) = delete;

  // Blocks until the calling thread owns the mutex.
  void lock() { mutex_.lock(); }

  // Releases the mutex. Only the thread that owns it may call this.
  void unlock() { mutex_.unlock(); }

 private:
  std::mutex mutex_;
};

}  // namespace KSTD
