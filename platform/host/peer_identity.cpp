#include "platform/host/peer_identity.h"

#include <sys/socket.h>

#include <array>
#include <fstream>

#include "platform/device/limits.h"
#include "platform/system/user_namespace.h"

namespace host {
namespace {

// The name of a process, without a line end; empty if there is none.
std::string programOf(std::uint32_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/comm", std::ios::binary);
  std::array<char, device::MaxNameBytes + 1> name{};
  file.read(name.data(), device::MaxNameBytes);
  std::string program(name.data(), static_cast<std::size_t>(file.gcount()));
  if (program.ends_with('\n')) program.pop_back();
  return program;
}

}  // namespace

std::optional<std::uint32_t> userOf(int socket) {
  ucred credentials{};
  socklen_t size = sizeof credentials;
  static const bool known = usersAreKnown();
  if (!known || getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) < 0) return std::nullopt;
  return credentials.uid;
}

PeerIdentity identityOf(int socket) {
  ucred credentials{};
  socklen_t size = sizeof credentials;
  PeerIdentity identity{{}, 0, "unknown"};
  if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) < 0) return identity;
  static const bool known = sys::usersAreKnown();
  if (known) identity.user = credentials.uid;
  // 0: a process of another process namespace.
  if (credentials.pid <= 0) return identity;
  identity.process = static_cast<std::uint32_t>(credentials.pid);
  if (auto program = programOf(identity.process); !program.empty()) identity.program = std::move(program);
  return identity;
}

}  // namespace host
