#include "platform/streamd/descriptors.h"

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace streamd {
namespace {

// Not used for connections, so that everything else can still be opened.
constexpr rlim_t Spare = 16;

bool isSpare(int descriptor) {
  rlimit limit{};
  return getrlimit(RLIMIT_NOFILE, &limit) == 0 && static_cast<rlim_t>(descriptor) + Spare >= limit.rlim_cur;
}

}  // namespace

void raiseDescriptorLimit() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) < 0) return;
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace streamd

// Replaces the C library's accept4 for ZeroMQ, which ends the process when it cannot accept a connection for lack of
// descriptors or memory, but continues after a connection that closed meanwhile. A connection above the limit is
// accepted and closed, because a pending one would be reported again and again.
//
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the C library's own names are reserved.
extern "C" int accept4(int listener, sockaddr* __restrict address, socklen_t* __restrict size, int flags) {
  const auto descriptor = static_cast<int>(syscall(SYS_accept4, listener, address, size, flags));
  if (descriptor < 0) {
    if (errno == EMFILE || errno == ENOBUFS || errno == ENOMEM) errno = ECONNABORTED;
    return -1;
  }
  if (!streamd::isSpare(descriptor)) return descriptor;
  close(descriptor);
  errno = ECONNABORTED;
  return -1;
}
