// A real service that clients find at an address while a test wants it there.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "platform/host/host.h"

namespace host {

// Serves on a thread of its own from its making to its end.
class RunningHost {
 public:
  // path: of its local socket.
  RunningHost(std::string path, std::unique_ptr<device::Driver> device, const Settings& settings = {})
      : path_(std::move(path)) {
    host_.emplace(std::move(device), settings, Log{});
    EXPECT_EQ(host_->listen(path_), std::nullopt);
    thread_ = std::thread([this] { host_->run(); });
  }
  RunningHost(const RunningHost&) = delete;
  RunningHost& operator=(const RunningHost&) = delete;
  ~RunningHost() { end(); }

  // Closes the sockets and destroys the device. Does nothing the second time.
  void end() {
    if (!host_) return;
    host_->stop();
    thread_.join();
    host_.reset();
    unlink(path_.c_str());
  }

 private:
  std::string path_;
  std::optional<Host> host_;
  std::thread thread_;
};

}  // namespace host
