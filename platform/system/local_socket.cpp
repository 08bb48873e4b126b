#include "platform/system/local_socket.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <system_error>

#include "platform/system/through_signals.h"

namespace sys {
namespace {

// nullopt with errno if no socket can have this path.
std::optional<sockaddr_un> addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  errno = path.empty() ? ENOENT : ENAMETOOLONG;
  if (path.empty() || path.size() >= sizeof address.sun_path) return std::nullopt;
  std::ranges::copy(path, std::begin(address.sun_path));
  return address;
}

int connectTo(const UniqueDescriptor& socket, const sockaddr_un& address) {
  // connect takes the address of any family by this type.
  return connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

}  // namespace

std::string wellKnownSocket() {
  const char* folder = std::getenv("XDG_RUNTIME_DIR");
  const bool named = folder != nullptr && *folder != '\0';
  return std::string(named ? folder : "/run") + "/streamd/socket";
}

int whyNobodyListens(const std::string& path) {
  const auto address = addressOf(path);
  if (!address) return errno;
  const UniqueDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!socket) return errno;
  const int cause = throughSignals([&] { return connectTo(socket, *address); }) < 0 ? errno : 0;
  // EAGAIN: the listener's queue of connections is full.
  return cause == EAGAIN ? 0 : cause;
}

UniqueDescriptor connectLocalSocket(const std::string& path, std::chrono::milliseconds patience) {
  const auto address = addressOf(path);
  if (!address) return {};
  UniqueDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!socket) return {};
  const auto end = std::chrono::steady_clock::now() + patience;
  int connected = -1;
  do {
    // Of a local socket, this is also the timeout of connect (unix(7)). 0 would mean none.
    const auto left = std::chrono::ceil<std::chrono::microseconds>(end - std::chrono::steady_clock::now()).count();
    if (left <= 0) {
      errno = EAGAIN;
      return {};
    }
    const timeval timeout{static_cast<time_t>(left / 1'000'000), static_cast<suseconds_t>(left % 1'000'000)};
    setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
    connected = connectTo(socket, *address);
  } while (connected < 0 && errno == EINTR);
  if (connected < 0 || fcntl(socket.get(), F_SETFL, O_NONBLOCK) < 0) return {};
  return socket;
}

std::pair<UniqueDescriptor, UniqueDescriptor> localSocketPair() {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()) < 0) {
    throw std::system_error(errno, std::generic_category());
  }
  return {UniqueDescriptor(ends[0]), UniqueDescriptor(ends[1])};
}

}  // namespace sys
