// Signals that interrupt a thread again and again.
#pragma once

#include <pthread.h>

#include <atomic>
#include <csignal>
#include <thread>

namespace testsupport {

// Sends SIGURG to a thread again and again during its lifetime. The handler does nothing, and interrupted calls are not
// restarted. The thread must outlive it.
class SignalStorm {
 public:
  explicit SignalStorm(pthread_t target) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGURG, &action, &before_);
    sender_ = std::thread([this, target] {
      while (!stop_) {
        pthread_kill(target, SIGURG);
        std::this_thread::yield();
      }
    });
  }
  SignalStorm(const SignalStorm&) = delete;
  SignalStorm& operator=(const SignalStorm&) = delete;
  ~SignalStorm() {
    stop_ = true;
    sender_.join();
    sigaction(SIGURG, &before_, nullptr);
  }

 private:
  std::atomic<bool> stop_{false};
  struct sigaction before_ {};
  std::thread sender_;
};

}  // namespace testsupport
