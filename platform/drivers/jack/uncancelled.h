// For callbacks that JACK runs on its threads.
#pragma once

#include <pthread.h>

namespace drivers::jack {

// Runs work without thread cancellation. When a client is closed, JACK cancels its threads wherever they are: locks
// that they hold would stay locked, and C++ cannot leave a function in the middle, so the program would end. With this
// they end after the work. Takes no lock and does not allocate.
template <class Work>
void uncancelled(Work work) {
  int before = PTHREAD_CANCEL_ENABLE;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
  work();
  pthread_setcancelstate(before, nullptr);
}

}  // namespace drivers::jack
