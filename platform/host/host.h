// A service behind sockets.
#pragma once

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/device/driver.h"
#include "platform/host/dispatcher.h"
#include "platform/host/log.h"
#include "platform/host/log_limit.h"
#include "platform/host/settings.h"
#include "platform/host/stream_server.h"
#include "platform/service/service.h"
#include "platform/system/event_descriptor.h"
#include "platform/system/unique_descriptor.h"

namespace host {

// Runs the service of one device, for clients that connect to it. Not thread-safe, except stop and adopt.
class Host {
 public:
  // Starts the device at once. warnings: see Dispatcher. Both get a bounded number of lines (see LogLimit), except for
  // what concerns the service itself. Throws std::system_error if the system provides no descriptor.
  Host(std::unique_ptr<device::Driver> driver, const Settings& settings, Log log, Log warnings = {});
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;
  ~Host();

  // Accepts clients at a local socket with this path from now on. Returns nullopt on success, else the reason in words.
  std::optional<std::string> listen(const std::string& path) { return server_.listen(path); }

  // Serves this connected socket as soon as run is at work; closes it if run has ended. Thread-safe.
  void adopt(sys::UniqueDescriptor socket);

  // Serves until stop. Blocks while there is nothing to do. Closes all connections when it returns or throws.
  void run();

  // Makes run return, now or when it is called. Thread-safe and async-signal-safe.
  void stop() noexcept;

 private:
  // A descriptor that ends waiting when it is readable. Owned by others.
  class Watched {
   public:
    Watched(asio::io_context& loop, int descriptor);
    Watched(const Watched&) = delete;
    Watched& operator=(const Watched&) = delete;
    ~Watched() { descriptor_.release(); }

    // From now on. Call it before waiting.
    void watch();

   private:
    asio::posix::stream_descriptor descriptor_;
    bool isWatched_ = false;
  };

  void serve();
  // Serves those that adopt has brought.
  void enterAdopted();
  // Closes all connections, also those that are still on their way.
  void end();
  // Waits until there is something to serve, or until this time; then handles what the loop has ready.
  void wait(std::optional<device::Time> until);

  std::atomic<bool> stopping_{false};
  sys::EventDescriptor wake_;
  LogLimit log_;
  LogLimit warnings_;
  asio::io_context loop_;
  StreamServer server_;
  service::Service service_;
  Dispatcher dispatcher_;
  Watched wakeWatched_;
  std::optional<Watched> serviceWatched_;
  std::mutex adopting_;
  std::vector<sys::UniqueDescriptor> adopted_;  // these two under adopting_
  bool hasEnded_ = false;
};

}  // namespace host
