#include "platform/channel/server_trust.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

#include "platform/system/user_namespace.h"

namespace channel {
namespace {

namespace fs = std::filesystem;

bool isSticky(const fs::path& folder) {
  struct stat found {};
  return stat(folder.c_str(), &found) == 0 && (found.st_mode & S_ISVTX) != 0;
}

// Returns the sticky folder in which somebody else could have put the socket, or a link to it.
std::optional<fs::path> stickyFolder(const fs::path& path) {
  const fs::path folder = path.has_parent_path() ? path.parent_path() : ".";
  if (isSticky(folder)) return folder;
  std::error_code unknown;
  const fs::path target = fs::canonical(path, unknown).parent_path();
  return !unknown && isSticky(target) ? std::optional(target) : std::nullopt;
}

}  // namespace

std::optional<std::string> whyNotTrusted(const std::string& folder, const ServerUsers& users) {
  const std::string front = "not used, because all users may listen in " + folder + " and the service runs as ";
  if (users.foreign && users.server == *users.foreign) return front + "a user whom this user namespace does not know";
  if (users.server == 0 || users.server == users.own) return std::nullopt;
  return front + "user " + std::to_string(users.server);
}

void requireTrustedServer(int socket, const std::string& path) {
  const auto folder = stickyFolder(path);
  if (!folder) return;
  ucred server{};
  socklen_t size = sizeof server;
  if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &server, &size) < 0) {
    throw UntrustedServer("not used, because the system does not say who runs the service");
  }
  ServerUsers users{server.uid, geteuid(), std::nullopt};
  if (!sys::usersAreKnown()) users.foreign = sys::foreignUser();
  if (const auto cause = whyNotTrusted(*folder, users)) throw UntrustedServer(*cause);
}

}  // namespace channel
