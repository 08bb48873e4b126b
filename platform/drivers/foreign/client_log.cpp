#include "platform/drivers/foreign/client_log.h"

namespace drivers {

std::vector<std::string> ClientLog::update(std::span<const ForeignClient> clients, const StillRuns& stillRuns) {
  std::vector<std::string> lines;
  std::set<std::pair<std::uint64_t, std::string>> now;
  for (const ForeignClient& client : clients) now.emplace(client.key, client.name);
  for (auto at = here_.begin(); at != here_.end();) {
    const std::string& name = at->second;
    if (now.contains(*at) || (stillRuns && stillRuns(name))) {
      ++at;
      continue;
    }
    lines.push_back("client \"" + name + "\" disconnected");
    gone_.add(name);
    at = here_.erase(at);
  }
  for (const ForeignClient& client : clients) {
    if (here_.emplace(client.key, client.name).second && gone_.take(client.name)) {
      lines.push_back("client \"" + client.name + "\" connected again");
    }
  }
  return lines;
}

void ClientLog::systemGone() {
  here_.clear();
  gone_.clear();
}

}  // namespace drivers
