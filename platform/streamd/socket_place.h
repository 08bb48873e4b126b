// The place of a local socket in the file system.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <variant>

namespace streamd {

// A path at which this process alone may listen, as long as the object lives: a lock beside it keeps others away, so
// that two services that start at once never share a path, nor take it from each other.
class SocketPlace {
 public:
  // Makes the folder if it is missing (mode 0750), and takes away a socket at which nobody listens any more. Nothing
  // else is ever removed. Without success: the cause in words.
  static std::variant<std::unique_ptr<SocketPlace>, std::string> claim(const std::string& path);

  SocketPlace(const SocketPlace&) = delete;
  SocketPlace& operator=(const SocketPlace&) = delete;

  // Removes the socket, which must have been closed, and gives the place back.
  ~SocketPlace();

 private:
  SocketPlace(std::string path, std::string lockPath, int lock)
      : path_(std::move(path)), lockPath_(std::move(lockPath)), lock_(lock) {}

  std::string path_;
  std::string lockPath_;
  int lock_;
  bool cleared_ = false;  // what stands at the path is this process's own
};

// While it lives, sockets that this process makes have mode 0660.
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
