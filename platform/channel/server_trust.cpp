#include "platform/channel/server_trust.h"

#include <sys/socket.h>
#include <unistd.h>

#include "platform/channel/open_folders.h"
#include "platform/system/user_namespace.h"

namespace channel {

std::optional<std::string> whyNotTrusted(const std::string& whyOthersMay, const ServerUsers& users) {
  const std::string front = "not used, because " + whyOthersMay + " and the service runs as ";
  if (users.foreign && users.server == *users.foreign) return front + "a user whom this user namespace does not know";
  if (users.server == 0 || users.server == users.own) return std::nullopt;
  return front + "user " + std::to_string(users.server);
}

void requireTrustedServer(int socket, const std::string& path) {
  const std::uint32_t own = geteuid();
  const auto whyOthersMay = whyOthersMayListen(path, own);
  if (!whyOthersMay) return;
  ucred server{};
  socklen_t size = sizeof server;
  if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &server, &size) < 0) {
    throw UntrustedServer("not used, because the system does not say who runs the service");
  }
  ServerUsers users{server.uid, own, std::nullopt};
  if (!sys::usersAreKnown()) users.foreign = sys::foreignUser();
  if (const auto cause = whyNotTrusted(*whyOthersMay, users)) throw UntrustedServer(*cause);
}

}  // namespace channel
