// The thread that talks to the JACK server.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <variant>

#include "platform/device/port.h"
#include "platform/drivers/jack/client.h"

namespace drivers::jack {

// How long a request to the server may take before whoever asked is told that it failed. A client of the service waits
// two seconds for an answer.
inline constexpr device::Time ServerPatience = std::chrono::milliseconds(1500);

// The result of a request that needs a port of ours, if JACK has none left.
inline constexpr int NoPort = -1;

// A request to the server. See ServerThread::ask.
class ServerRequest;

// All calls that wait for the server are made here, one after the other: requests block while the server is halted,
// opening a client blocks while it hangs, and closing a client whose server died has been seen to hang. The thread
// receives no signals. The operations never wait for the server, except those with a timeout and the destructor.
class ServerThread {
 public:
  using Opened = std::variant<std::unique_ptr<Client>, std::string>;
  using Request = std::shared_ptr<ServerRequest>;

  // Talks to the server with the client that is open. Returns what becomes the result of the request.
  using Work = std::function<int()>;
  using Undo = std::function<void(int result)>;

  // wakeup: woken when result() has something to return and when a request is done; passed on to the clients.
  explicit ServerThread(std::shared_ptr<sys::EventDescriptor> wakeup);
  ServerThread(const ServerThread&) = delete;
  ServerThread& operator=(const ServerThread&) = delete;

  // Blocks for up to two seconds while the thread is busy; then detaches it. Requests that have not begun never begin.
  ~ServerThread();

  // Tries to open a client: once, or about every second until one is open.
  void open(bool untilThere);

  // Closes a client before another is opened: a process can use one server at a time. Requests that have not begun
  // never begin. Until the thread has closed the client, the requests that have begun may use it.
  void close(std::unique_ptr<Client> client);

  // Returns the result of open, once: the client, or, after a single try, why there is none. nullopt if there is no
  // result yet.
  std::optional<Opened> result();

  // The same, but blocks until there is a result; nullopt on timeout.
  std::optional<Opened> result(std::chrono::milliseconds patience);

  // Adds a request. Requests of somebody who waits are done before all others, and in order among themselves. undo:
  // called on the thread, with the result, if the request is withdrawn while it runs.
  enum class Turn : std::uint8_t { Last, SomebodyWaits };
  Request ask(Work work, Turn turn = Turn::Last, Undo undo = {});

  // Returns the result of a request, or nullopt while it is not done.
  std::optional<int> result(const Request& request) const;

  // The same, but blocks until the request is done; nullopt on timeout.
  std::optional<int> result(const Request& request, std::chrono::milliseconds patience);

  // Gives up a request. Never: it has not begun, and never begins. Undone: it runs, and is undone when it is done.
  // Done: it was done before, and has its result.
  enum class Withdrawn : std::uint8_t { Never, Undone, Done };
  Withdrawn withdraw(const Request& request);

  // How many requests were done so far.
  std::uint64_t doneCount() const;

  // Since when the request that is under way runs, in the time of the steady clock; nullopt if none is.
  std::optional<device::Time> runsSince() const;

 private:
  struct State;

  std::shared_ptr<State> state_;  // shared with the thread
  std::thread thread_;
};

}  // namespace drivers::jack
