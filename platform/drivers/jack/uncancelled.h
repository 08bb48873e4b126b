// For what JACK calls from its threads.
#pragma once

#include <pthread.h>

namespace drivers::jack {

// Does work that is not cut short. JACK cancels its threads wherever they are when a client is closed: what they hold
// would be held for ever, and C++ has no way out of the middle of a function, so that the program would end. With this
// they end after the work. Costs no lock and no memory.
template <class Work>
void uncancelled(Work work) {
  int before = PTHREAD_CANCEL_ENABLE;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
  work();
  pthread_setcancelstate(before, nullptr);
}

}  // namespace drivers::jack
