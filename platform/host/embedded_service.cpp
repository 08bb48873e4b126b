#include "platform/host/embedded_service.h"

#include <pthread.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <utility>

namespace host {
namespace {

// No I/O threads: nothing leaves the process.
constexpr int IoThreads = 0;

// While it lives, threads that are started take no signals: handlers belong to the program's own threads.
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

}  // namespace

EmbeddedService::EmbeddedService(std::unique_ptr<service::Driver> driver, const Limits& limits, Log warnings)
    : context_(IoThreads), host_(context_, std::move(driver), limits, Log{}, std::move(warnings)) {
  if (const auto problem = host_.bind(address_)) throw std::runtime_error(*problem);
  const WithoutSignals quiet;
  thread_ = std::thread([this] {
    pthread_setname_np(pthread_self(), "evtsrv");
    try {
      host_.run();
    } catch (const std::exception& failure) {
      // The program lives on; clients get no more answers.
      std::fprintf(stderr, "evtsrv: the service has ended: %s\n", failure.what());
    }
  });
}

EmbeddedService::~EmbeddedService() {
  host_.stop();
  thread_.join();
}

}  // namespace host
