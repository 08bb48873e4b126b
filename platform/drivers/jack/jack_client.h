// Our client on a JACK server.
#pragma once

#include <jack/types.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "platform/drivers/jack/capture_ports.h"
#include "platform/drivers/jack/notices.h"
#include "platform/drivers/jack/playback_ports.h"
#include "platform/drivers/jack/process_gate.h"
#include "platform/system/event_descriptor.h"

namespace drivers::jack {

// Active as long as it lives. JACK's threads end with it; they take no signals if the thread that opened it takes none.
class JackClient {
 public:
  // Opens a client on the server that JACK's own rules choose; never starts one. wakeup: woken whenever something is to
  // be taken from notices() or capture(). The text says in a line why there is none. May block for long when the server
  // does.
  static std::variant<std::unique_ptr<JackClient>, std::string> open(std::shared_ptr<sys::EventDescriptor> wakeup);

  JackClient(const JackClient&) = delete;
  JackClient& operator=(const JackClient&) = delete;

  // May block for long when the server does, or has gone.
  ~JackClient();

  jack_client_t* handle() const { return client_; }

  // How JACK's port names of our own ports begin.
  const std::string& portPrefix() const { return prefix_; }

  // How long a period takes.
  std::chrono::nanoseconds period() const;

  // How many periods JACK has gone on without this client since this was last asked, because it or the server was late.
  // What was sent to it in them is lost.
  std::uint64_t takeSkipped() { return skipped_.exchange(0); }

  NoticeQueue& notices() { return notices_; }
  CapturePorts& capture() { return capture_; }
  PlaybackPorts& playback() { return playback_; }

  // Waits until a connection that has been made to or from a port of ours is in effect: one period or two, ten at most.
  // Answers whether it is.
  bool awaitConnection(const jack_port_t* port) const;

 private:
  explicit JackClient(std::shared_ptr<sys::EventDescriptor> wakeup) : wakeup_(std::move(wakeup)) {}

  bool activate();
  void process(jack_nframes_t frames);
  void tell(Notice notice);

  std::shared_ptr<sys::EventDescriptor> wakeup_;
  NoticeQueue notices_;
  ProcessGate gate_;
  CapturePorts capture_{gate_};
  PlaybackPorts playback_{gate_};
  jack_client_t* client_ = nullptr;
  std::string prefix_;
  std::atomic<std::uint64_t> skipped_{0};
  std::optional<jack_nframes_t> next_;  // process callback's: when the next period is to begin
};

}  // namespace drivers::jack
