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

std::optional<ucred> credentialsOf(int socket) {
  ucred credentials{};
  socklen_t size = sizeof credentials;
  if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) < 0) return std::nullopt;
  return credentials;
}

// The system says 0 for a process of another process namespace.
std::uint32_t processIn(const ucred& credentials) {
  return credentials.pid > 0 ? static_cast<std::uint32_t>(credentials.pid) : 0;
}

}  // namespace

std::optional<std::uint32_t> userOf(int socket) {
  static const bool known = sys::usersAreKnown();
  const auto credentials = known ? credentialsOf(socket) : std::nullopt;
  return credentials ? std::optional(credentials->uid) : std::nullopt;
}

std::uint32_t processOf(int socket) {
  const auto credentials = credentialsOf(socket);
  return credentials ? processIn(*credentials) : 0;
}

PeerIdentity identityOf(int socket) {
  PeerIdentity identity{{}, 0, "unknown"};
  const auto credentials = credentialsOf(socket);
  if (!credentials) return identity;
  static const bool known = sys::usersAreKnown();
  if (known) identity.user = credentials->uid;
  identity.process = processIn(*credentials);
  if (identity.process == 0) return identity;
  if (auto program = programOf(identity.process); !program.empty()) identity.program = std::move(program);
  return identity;
}

}  // namespace host
