// Whether a client may trust the server of a local socket.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

namespace channel {

// The server of a local socket runs as a user who is not trusted there. what() is the cause for the user.
class UntrustedServer : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Who serves and who asks, as the system says it.
struct ServerUsers {
  std::uint32_t server = 0;
  std::uint32_t own = 0;
  // The number of all users whom the process's user namespace does not know; nullopt outside of user namespaces.
  std::optional<std::uint32_t> foreign;
};

// Where others than root and the client's own user can change what a path leads to, such as in /tmp, any of them can
// listen there before the service does. So the server must run there as root or as the client's own user. In a user
// namespace, a user whom it does not know is nobody's own: several users have that number. whyOthersMay: see
// whyOthersMayListen. Returns why the server is not trusted; nullopt if it is.
std::optional<std::string> whyNotTrusted(const std::string& whyOthersMay, const ServerUsers& users);

// Throws UntrustedServer if the server that the socket is connected to must not be trusted. path: of the server's
// socket. Where others cannot change what the path leads to, everybody is trusted who can listen there.
void requireTrustedServer(int socket, const std::string& path);

}  // namespace channel
