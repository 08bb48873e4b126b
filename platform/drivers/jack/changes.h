// Notices from JACK's notification thread to the service's thread.
#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace drivers::jack {

struct Notice {
  enum class Kind {
    Ports,         // ports or a client were added or removed
    Renamed,       // a port has a new name and keeps its connections
    Connected,     // from source to sink
    Disconnected,  // from source to sink
    Ended          // the server ended or dropped this client; nothing follows
  };

  Kind kind = Kind::Ports;
  std::string source{};  // full names of ports
  std::string sink{};
};

// Notices in order. Thread-safe.
class NoticeQueue {
 public:
  void add(Notice notice) {
    const std::lock_guard lock(mutex_);
    notices_.push_back(std::move(notice));
  }

  std::vector<Notice> take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(notices_, {});
  }

 private:
  std::mutex mutex_;
  std::vector<Notice> notices_;
};

}  // namespace drivers::jack
