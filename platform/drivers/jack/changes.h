// Changes that JACK's notification thread reports to the service's thread.
#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace drivers::jack {

struct Change {
  enum class Kind {
    Ports,         // ports were added or removed
    ClientCame,    // a client with the name source
    ClientLeft,    // the same
    Renamed,       // a port has a new name and keeps its connections
    Connected,     // from source to sink
    Disconnected,  // from source to sink
    Ended          // the server ended or dropped this client; nothing follows
  };

  Kind kind = Kind::Ports;
  std::string source{};  // the full name of a port, or the name of a client
  std::string sink{};
};

// Changes in order. Thread-safe.
class ChangeQueue {
 public:
  void add(Change change) {
    const std::lock_guard lock(mutex_);
    changes_.push_back(std::move(change));
  }

  std::vector<Change> take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(changes_, {});
  }

 private:
  std::mutex mutex_;
  std::vector<Change> changes_;
};

}  // namespace drivers::jack
