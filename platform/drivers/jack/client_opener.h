// Opens and closes our client on a thread of its own.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <variant>

#include "platform/drivers/jack/client.h"

namespace drivers::jack {

// A thread is needed because opening a client blocks while the server hangs, and closing a client whose server died has
// been seen to hang. The thread receives no signals.
class ClientOpener {
 public:
  using Opened = std::variant<std::unique_ptr<Client>, std::string>;

  // wakeup: woken when result() has something to return; passed on to the clients.
  explicit ClientOpener(std::shared_ptr<sys::EventDescriptor> wakeup);
  ClientOpener(const ClientOpener&) = delete;
  ClientOpener& operator=(const ClientOpener&) = delete;

  // Blocks for up to two seconds while a client is opened or closed; then detaches a thread that hangs.
  ~ClientOpener();

  // Tries to open a client: once, or about every second until one is open.
  void open(bool untilThere);

  // Closes a client before another is opened: a process can use one server at a time.
  void close(std::unique_ptr<Client> client);

  // Returns the result of open, once: the client, or, after a single try, why there is none. nullopt if there is no
  // result yet.
  std::optional<Opened> result();

  // The same, but blocks until there is a result; nullopt on timeout.
  std::optional<Opened> result(std::chrono::milliseconds patience);

 private:
  struct Work;

  std::shared_ptr<Work> work_;  // shared with the thread
  std::thread thread_;
};

}  // namespace drivers::jack
