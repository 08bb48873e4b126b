#include "platform/system/local_socket.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "platform/system/through_signals.h"

namespace sys {

std::string wellKnownSocket() {
  const char* folder = std::getenv("XDG_RUNTIME_DIR");
  const bool named = folder != nullptr && *folder != '\0';
  return std::string(named ? folder : "/run") + "/streamd/socket";
}

int whyNobodyListens(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.empty()) return ENOENT;
  if (path.size() >= sizeof address.sun_path) return ENAMETOOLONG;
  std::ranges::copy(path, std::begin(address.sun_path));
  const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (descriptor < 0) return errno;
  // connect takes the address of any family by this type.
  const auto* any = reinterpret_cast<const sockaddr*>(&address);
  const int connected = throughSignals([&] { return connect(descriptor, any, sizeof address); });
  const int cause = connected < 0 ? errno : 0;
  close(descriptor);
  // EAGAIN: the listener's queue of connections is full.
  return cause == EAGAIN ? 0 : cause;
}

}  // namespace sys
