// Starts threads that receive no signals.
#pragma once

#include <pthread.h>

#include <csignal>

namespace sys {

// Threads that are started while this object lives receive only signals of their own faults: all other signals belong
// to the program's own threads.
class WithoutSignals {
 public:
  WithoutSignals() {
    sigset_t most;
    sigfillset(&most);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS}) sigdelset(&most, fault);
    pthread_sigmask(SIG_SETMASK, &most, &before_);
  }
  WithoutSignals(const WithoutSignals&) = delete;
  WithoutSignals& operator=(const WithoutSignals&) = delete;
  ~WithoutSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_{};
};

}  // namespace sys
