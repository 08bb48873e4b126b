// A real service that clients find at an address while a test wants it there.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <zmq.hpp>

#include "platform/host/host.h"

namespace host {

// Serves on a thread of its own from its making to its end.
class RunningHost {
 public:
  RunningHost(const std::string& endpoint, std::unique_ptr<device::Driver> device, const Settings& settings = {}) {
    host_.emplace(context_, std::move(device), settings, Log{});
    EXPECT_EQ(host_->bind(endpoint), std::nullopt);
    thread_ = std::thread([this] { host_->run(); });
  }
  RunningHost(const RunningHost&) = delete;
  RunningHost& operator=(const RunningHost&) = delete;
  ~RunningHost() { end(); }

  // Closes the socket and destroys the device. Does nothing the second time.
  void end() {
    if (!host_) return;
    host_->stop();
    thread_.join();
    host_.reset();
  }

 private:
  zmq::context_t context_;
  std::optional<Host> host_;
  std::thread thread_;
};

}  // namespace host
