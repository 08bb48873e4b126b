#include "platform/drivers/foreign/client_log.h"

namespace drivers {

std::vector<std::string> ClientLog::update(const std::vector<std::string>& clients,
                                           const std::function<bool(const std::string& client)>& stillRuns) {
  std::vector<std::string> lines;
  const std::set<std::string> now(clients.begin(), clients.end());
  for (auto at = here_.begin(); at != here_.end();) {
    if (now.contains(*at) || stillRuns(*at)) {
      ++at;
      continue;
    }
    lines.push_back("client \"" + *at + "\" has gone");
    gone_.add(*at);
    at = here_.erase(at);
  }
  for (const std::string& name : clients) {
    if (here_.insert(name).second && gone_.take(name)) lines.push_back("client \"" + name + "\" is back");
  }
  return lines;
}

void ClientLog::serverGone() {
  here_.clear();
  gone_.clear();
}

}  // namespace drivers
