#include "platform/drivers/jack/client_log.h"

#include <algorithm>

namespace service::jack {

std::vector<std::string> ClientLog::update(const std::vector<std::string>& clients,
                                           const std::function<bool(const std::string& client)>& stillRuns) {
  std::vector<std::string> lines;
  for (auto& [name, isThere] : isThere_) {
    if (!isThere || std::ranges::find(clients, name) != clients.end() || stillRuns(name)) continue;
    isThere = false;
    lines.push_back("client \"" + name + "\" has gone");
  }
  for (const std::string& name : clients) {
    const auto [known, isNew] = isThere_.try_emplace(name, true);
    if (!isNew && !known->second) lines.push_back("client \"" + name + "\" is back");
    known->second = true;
  }
  return lines;
}

void ClientLog::serverGone() { isThere_.clear(); }

}  // namespace service::jack
