// The place of a local socket in the file system.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <variant>

namespace streamd {

// A path at which only this process may listen during the object's lifetime. A lock file beside it keeps others away,
// so two services that start at the same time never share a path, nor take it from each other.
class SocketPlace {
 public:
  // Makes the folder if it is missing (mode 0750), and removes a socket at which nothing listens any more. Removes
  // nothing else. On failure returns the cause as text.
  static std::variant<std::unique_ptr<SocketPlace>, std::string> claim(const std::string& path);

  SocketPlace(const SocketPlace&) = delete;
  SocketPlace& operator=(const SocketPlace&) = delete;

  const std::string& path() const { return path_; }

  // Removes the socket, which must be closed, and releases the place.
  ~SocketPlace();

 private:
  SocketPlace(std::string path, std::string lockPath, int lock)
      : path_(std::move(path)), lockPath_(std::move(lockPath)), lock_(lock) {}

  std::string path_;
  std::string lockPath_;
  int lock_;
  bool cleared_ = false;  // the file at the path is this process's own
};

// During its lifetime, sockets that this process makes have mode 0660.
class SocketMode {
 public:
  SocketMode();
  SocketMode(const SocketMode&) = delete;
  SocketMode& operator=(const SocketMode&) = delete;
  ~SocketMode();

 private:
  unsigned before_;
};

}  // namespace streamd
