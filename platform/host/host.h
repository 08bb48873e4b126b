// A service behind a socket.
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <zmq.hpp>

#include "platform/device/driver.h"
#include "platform/host/dispatcher.h"
#include "platform/host/log.h"
#include "platform/host/router_socket.h"
#include "platform/host/settings.h"
#include "platform/service/service.h"
#include "platform/system/event_descriptor.h"

namespace host {

// Runs the service of one device, for clients that connect to its endpoints. Not thread-safe, except stop.
class Host {
 public:
  // Starts the device at once. context must outlive the host. warnings: see Dispatcher. Throws zmq::error_t or
  // std::system_error if the system provides no socket.
  Host(zmq::context_t& context, std::unique_ptr<device::Driver> driver, const Settings& settings, Log log,
       Log warnings = {});

  // Accepts clients at this ZeroMQ endpoint from now on. Returns nullopt on success, else the reason in words.
  std::optional<std::string> bind(const std::string& endpoint) { return socket_.bind(endpoint); }

  // Serves until stop. Blocks while there is nothing to do.
  void run();

  // Makes run return, now or when it is called. Thread-safe and async-signal-safe.
  void stop() noexcept;

 private:
  void wait(std::optional<device::Time> until);
  // Serves a bounded number of ready messages. Returns false if none is left.
  bool serve();

  std::atomic<bool> stopping_{false};
  sys::EventDescriptor wake_;
  RouterSocket socket_;
  service::Service service_;
  Dispatcher dispatcher_;
};

}  // namespace host
