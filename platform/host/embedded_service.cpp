#include "platform/host/embedded_service.h"

#include <pthread.h>

#include <exception>
#include <string>
#include <utility>

#include "platform/system/local_socket.h"
#include "platform/system/printable.h"
#include "platform/system/program_line.h"
#include "platform/system/without_signals.h"

namespace host {
EmbeddedService::EmbeddedService(std::unique_ptr<device::Driver> driver, const Settings& settings, Log warnings)
    : host_(std::move(driver), settings, Log{}, std::move(warnings)) {
  const sys::WithoutSignals quiet;
  thread_ = std::thread([this] {
    pthread_setname_np(pthread_self(), "evtsrv");
    try {
      host_.run();
    } catch (const std::exception& failure) {
      // The program continues; clients get no more answers.
      hasStopped_ = true;
      sys::sayLine(std::string("the service stopped: ") + sys::printable(failure.what()));
    }
  });
}

EmbeddedService::~EmbeddedService() {
  host_.stop();
  thread_.join();
}

sys::UniqueDescriptor EmbeddedService::connect() {
  if (hasStopped_) return {};
  auto ends = sys::localSocketPair();
  host_.adopt(std::move(ends.second));
  return std::move(ends.first);
}

}  // namespace host
