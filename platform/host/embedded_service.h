// A service inside this process.
#pragma once

#include <memory>
#include <string>
#include <thread>
#include <zmq.hpp>

#include "platform/device/driver.h"
#include "platform/host/host.h"
#include "platform/host/log.h"
#include "platform/host/settings.h"

namespace host {

// A host on its own thread, which receives only signals of its own faults. The destructor stops it; all sockets of the
// context must be closed by then. A service that cannot continue, for lack of memory for example, writes one line to
// standard error and then answers nobody.
class EmbeddedService {
 public:
  // Throws an exception derived from std::exception if the system provides no thread or no socket. warnings: see
  // Dispatcher.
  explicit EmbeddedService(std::unique_ptr<device::Driver> driver, const Settings& settings = {}, Log warnings = {});
  EmbeddedService(const EmbeddedService&) = delete;
  EmbeddedService& operator=(const EmbeddedService&) = delete;
  ~EmbeddedService();

  // The service's address, and the context in which it is valid.
  zmq::context_t& context() { return context_; }
  const std::string& address() const { return address_; }

 private:
  zmq::context_t context_;
  std::string address_ = "inproc://service";
  Host host_;
  std::thread thread_;
};

}  // namespace host
