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

#include "platform/drivers/jack/changes.h"
#include "platform/drivers/jack/input.h"
#include "platform/drivers/jack/output.h"
#include "platform/drivers/jack/process_gate.h"
#include "platform/system/event_descriptor.h"

namespace drivers::jack {

// Active as long as it lives. JACK's threads end with it; they receive no signals if the thread that opens it receives
// none.
class Client {
 public:
  // Opens a client on the server that JACK's own rules choose; never starts a server. wakeup: woken when there is
  // something to take from changes() or input(). Returns the client, or one line that says why there is none. May
  // block for long if the server does.
  static std::variant<std::unique_ptr<Client>, std::string> open(std::shared_ptr<sys::EventDescriptor> wakeup);

  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  // May block for long if the server does, or no longer exists.
  ~Client();

  jack_client_t* handle() const { return client_; }

  // The prefix of our own ports' names in JACK.
  const std::string& portPrefix() const { return prefix_; }

  // The length of a period.
  std::chrono::nanoseconds period() const;

  // Returns how many periods JACK ran without this client since the last call, because the client or the server was
  // late. What was sent to the client in them is lost.
  std::uint64_t takeSkipped() { return skipped_.exchange(0); }

  // How many periods have run with this client. Stands still while the server is halted.
  std::uint64_t periods() const { return periods_.load(std::memory_order_relaxed); }

  ChangeQueue& changes() { return changes_; }
  Input& input() { return input_; }
  Output& output() { return output_; }

 private:
  explicit Client(std::shared_ptr<sys::EventDescriptor> wakeup) : wakeup_(std::move(wakeup)) {}

  bool activate();
  void process(jack_nframes_t frames);
  void tell(Change change);

  std::shared_ptr<sys::EventDescriptor> wakeup_;
  ChangeQueue changes_;
  ProcessGate gate_;
  Input input_{gate_};
  Output output_{gate_};
  jack_client_t* client_ = nullptr;
  std::string prefix_;
  std::atomic<std::uint64_t> skipped_{0};
  std::atomic<std::uint64_t> periods_{0};
  std::optional<jack_nframes_t> next_;  // for the process callback: when the next period begins
};

}  // namespace drivers::jack
