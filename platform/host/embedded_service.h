// A service inside this process.
#pragma once

#include <atomic>
#include <memory>
#include <thread>

#include "platform/device/driver.h"
#include "platform/host/host.h"
#include "platform/host/log.h"
#include "platform/host/settings.h"
#include "platform/system/unique_descriptor.h"

namespace host {

// A host on its own thread, which receives only signals of its own faults. The destructor stops it and closes all
// connections. A service that cannot continue, for lack of memory for example, writes one line to standard error,
// closes all connections and takes no more.
class EmbeddedService {
 public:
  // Throws an exception derived from std::exception if the system provides no thread or no socket. warnings: see
  // Dispatcher.
  explicit EmbeddedService(std::unique_ptr<device::Driver> driver, const Settings& settings = {}, Log warnings = {});
  EmbeddedService(const EmbeddedService&) = delete;
  EmbeddedService& operator=(const EmbeddedService&) = delete;
  ~EmbeddedService();

  // Returns a socket that is connected to the service and does not block; empty if the service takes no connection. If
  // it stops at this moment, the socket closes.
  // Throws std::system_error if the system gives no socket. Thread-safe.
  sys::UniqueDescriptor connect();

 private:
  Host host_;
  std::atomic<bool> hasStopped_{false};
  std::thread thread_;
};

}  // namespace host
