#include "platform/streamd/socket_place.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>

#include "platform/streamd/socket_folder.h"
#include "platform/system/local_socket.h"
#include "platform/system/through_signals.h"

namespace streamd {
namespace {

constexpr mode_t LockMode = 0660;
constexpr mode_t NothingForOthers = 0117;

const std::string Taken = "a service is already listening there";

std::string words(int cause) { return std::strerror(cause); }

bool isAt(const std::string& path, int descriptor) {
  const auto there = sys::FileIdentity::of(path);
  return there && there == sys::FileIdentity::of(descriptor);
}

// Returns the descriptor of the locked file, or the cause.
std::variant<int, std::string> lockFile(const std::string& path) {
  for (;;) {
    const int descriptor = open(path.c_str(), O_CREAT | O_RDWR | O_CLOEXEC | O_NOFOLLOW, LockMode);
    if (descriptor < 0) return path + ": " + words(errno);
    if (sys::throughSignals([&] { return flock(descriptor, LOCK_EX | LOCK_NB); }) < 0) {
      const int cause = errno;
      close(descriptor);
      return cause == EWOULDBLOCK ? Taken : path + ": " + words(cause);
    }
    // The last owner may have removed the file between open and flock: then others lock another file.
    if (isAt(path, descriptor)) return descriptor;
    close(descriptor);
  }
}

// Returns the cause if something is at the path that must not be removed.
std::optional<std::string> clearAway(const std::string& path) {
  struct stat there {};
  if (lstat(path.c_str(), &there) < 0) return errno == ENOENT ? std::nullopt : std::optional(words(errno));
  if (!S_ISSOCK(there.st_mode)) return "the path exists and is not a socket";
  const int cause = sys::whyNobodyListens(path);
  if (cause == 0) return Taken;
  if (cause != ECONNREFUSED) return words(cause);
  return unlink(path.c_str()) == 0 || errno == ENOENT ? std::nullopt : std::optional(words(errno));
}

}  // namespace

std::variant<std::unique_ptr<SocketPlace>, std::string> SocketPlace::claim(const std::string& path) {
  if (path.size() >= sizeof(sockaddr_un::sun_path)) return words(ENAMETOOLONG);
  if (auto problem = prepareFolder(std::filesystem::path(path).parent_path())) return *std::move(problem);
  const std::string lockPath = path + ".lock";
  auto lock = lockFile(lockPath);
  if (auto* problem = std::get_if<std::string>(&lock)) return std::move(*problem);
  std::unique_ptr<SocketPlace> place(new SocketPlace(path, lockPath, std::get<int>(lock)));
  if (auto problem = clearAway(path)) return *std::move(problem);
  return place;
}

SocketPlace::~SocketPlace() {
  if (socket_ && socket_ == sys::FileIdentity::of(path_)) unlink(path_.c_str());
  if (isAt(lockPath_, lock_)) unlink(lockPath_.c_str());
  close(lock_);
}

SocketMode::SocketMode() : before_(umask(NothingForOthers)) {}

SocketMode::~SocketMode() { umask(before_); }

}  // namespace streamd
