// The place of a local socket in the file system.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "platform/system/file_identity.h"

namespace streamd {

// A path at which only this process may listen during the object's lifetime. A lock file beside it keeps others away,
// so two services that start at the same time never share a path, nor take it from each other.
class SocketPlace {
 public:
  // Prepares the folder (see prepareFolder), and removes a socket at which nothing listens any more. Removes nothing
  // else. On failure returns the cause as text.
  static std::variant<std::unique_ptr<SocketPlace>, std::string> claim(const std::string& path);

  SocketPlace(const SocketPlace&) = delete;
  SocketPlace& operator=(const SocketPlace&) = delete;

  const std::string& path() const { return path_; }

  // Call once this process has bound its socket to the path.
  void bound() { socket_ = sys::FileIdentity::of(path_); }

  // Removes the socket, which must be closed, and releases the place. Leaves a socket or a lock alone that somebody
  // else has put there meanwhile.
  ~SocketPlace();

 private:
  SocketPlace(std::string path, std::string lockPath, int lock)
      : path_(std::move(path)), lockPath_(std::move(lockPath)), lock_(lock) {}

  std::string path_;
  std::string lockPath_;
  int lock_;
  std::optional<sys::FileIdentity> socket_;  // this process's own
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
