// A service inside this process.
#pragma once

#include <memory>
#include <string>
#include <thread>
#include <zmq.hpp>

#include "platform/device/driver.h"
#include "platform/host/host.h"
#include "platform/host/limits.h"
#include "platform/host/log.h"

namespace host {

// A host on a thread of its own, which takes no signals but those of its own faults. The destructor ends it; all
// sockets of the context must be closed by then. A service that cannot go on, for want of memory say, costs one line on
// standard error and answers nobody any more.
class EmbeddedService {
 public:
  // Throws what derives from std::exception when the system gives no thread or no socket.
  // warnings: see Dispatcher.
  explicit EmbeddedService(std::unique_ptr<device::Driver> driver, const Limits& limits = {}, Log warnings = {});
  EmbeddedService(const EmbeddedService&) = delete;
  EmbeddedService& operator=(const EmbeddedService&) = delete;
  ~EmbeddedService();

  // Where clients find it, and the context in which that address means something.
  zmq::context_t& context() { return context_; }
  const std::string& address() const { return address_; }

 private:
  zmq::context_t context_;
  std::string address_ = "inproc://service";
  Host host_;
  std::thread thread_;
};

}  // namespace host
