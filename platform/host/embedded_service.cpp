#include "platform/host/embedded_service.h"

#include <pthread.h>

#include <exception>
#include <stdexcept>
#include <utility>

#include "platform/system/printable.h"
#include "platform/system/program_line.h"
#include "platform/system/without_signals.h"

namespace host {
namespace {

// No I/O threads: nothing leaves the process.
constexpr int IoThreads = 0;

}  // namespace

EmbeddedService::EmbeddedService(std::unique_ptr<device::Driver> driver, const Settings& settings, Log warnings)
    : context_(IoThreads), host_(context_, std::move(driver), settings, Log{}, std::move(warnings)) {
  if (const auto problem = host_.bind(address_)) throw std::runtime_error(*problem);
  const sys::WithoutSignals quiet;
  thread_ = std::thread([this] {
    pthread_setname_np(pthread_self(), "evtsrv");
    try {
      host_.run();
    } catch (const std::exception& failure) {
      // The program continues; clients get no more answers.
      sys::sayLine(std::string("the service stopped: ") + sys::printable(failure.what()));
    }
  });
}

EmbeddedService::~EmbeddedService() {
  host_.stop();
  thread_.join();
}

}  // namespace host
