// What JACK's notification thread tells the service's thread.
#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace drivers::jack {

struct Notice {
  enum class Kind {
    Ports,         // some have come or gone, or a client has
    Renamed,       // a port goes on under another name, with its connections
    Connected,     // from source to sink
    Disconnected,  // from source to sink
    Ended          // the server has gone, or has dropped this client; nothing follows
  };

  Kind kind = Kind::Ports;
  std::string source{};  // full names of ports
  std::string sink{};
};

// In the order of happening. From any thread.
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
