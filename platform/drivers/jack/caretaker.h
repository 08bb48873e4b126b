// Opens and closes our client where nobody has to wait for it.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <variant>

#include "platform/drivers/jack/jack_client.h"

namespace drivers::jack {

// A thread, because a server that hangs keeps him waiting who asks it for a client, and a client whose server has died
// has been seen to hang when it is closed. The thread takes no signals.
class Caretaker {
 public:
  using Opened = std::variant<std::unique_ptr<JackClient>, std::string>;

  // wakeup: woken when result() has something to tell, and handed to the clients.
  explicit Caretaker(std::shared_ptr<sys::EventDescriptor> wakeup);
  Caretaker(const Caretaker&) = delete;
  Caretaker& operator=(const Caretaker&) = delete;

  // Waits two seconds at most for what is being opened or closed; a thread that hangs is left behind.
  ~Caretaker();

  // Tries to open a client: once, or about every second until one is open.
  void open(bool untilThere);

  // Closes a client, before another is opened: a process can speak to one server at a time.
  void close(std::unique_ptr<JackClient> client);

  // What has become of open, once: the client; of a single try also why there is none.
  std::optional<Opened> result();

  // The same, but waits for it; nothing when it takes longer.
  std::optional<Opened> result(std::chrono::milliseconds patience);

 private:
  struct Work;

  std::shared_ptr<Work> work_;  // with the thread
  std::thread thread_;
};

}  // namespace drivers::jack
