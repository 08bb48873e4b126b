#include <pthread.h>

#include <cstdint>
#include <memory>
#include <string>
#include <system_error>

#include "utilsrv.h"

namespace UtilSrv {
namespace {

constexpr std::size_t MaxThreadName = 15;

struct Start {
  Thread::Entry entry;
  void* argument;
};

// Not noexcept: Thread::exit unwinds through it.
extern "C" void* runThread(void* start) {
  const std::unique_ptr<Start> owned(static_cast<Start*>(start));
  const Start call = *owned;
  call.entry(call.argument);
  return nullptr;
}

}  // namespace

Thread::Thread(Entry entry, void* argument, const char* name) {
  auto start = std::make_unique<Start>(Start{entry, argument});
  if (const int error = pthread_create(&thread_, nullptr, runThread, start.get()); error != 0) {
    throw std::system_error(error, std::generic_category(), "pthread_create");
  }
  // The thread owns it now.
  static_cast<void>(start.release());
  if (name != nullptr) pthread_setname_np(thread_, std::string(name).substr(0, MaxThreadName).c_str());
}

Thread::~Thread() {
  if (pthread_equal(pthread_self(), thread_) != 0) {
    pthread_detach(thread_);
  } else {
    pthread_join(thread_, nullptr);
  }
}

void Thread::exit(int code) {
  // A thread returns a pointer; this one holds the number.
  pthread_exit(reinterpret_cast<void*>(static_cast<std::intptr_t>(code)));  // NOLINT(performance-no-int-to-ptr)
}

}  // namespace UtilSrv
