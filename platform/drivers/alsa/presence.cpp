#include "platform/drivers/alsa/presence.h"

#include <utility>

namespace service::alsa {

std::vector<std::string> Presence::update(std::span<const ForeignClient> clients) {
  std::map<std::uint64_t, std::string> here;
  for (const ForeignClient& client : clients) here.emplace(client.key, client.name);
  std::vector<std::string> lines;
  for (const auto& [key, name] : here_) {
    if (const auto found = here.find(key); found != here.end() && found->second == name) continue;
    lines.push_back("client \"" + name + "\" has gone");
    left_.insert(name);
  }
  for (const auto& [key, name] : here) {
    if (const auto found = here_.find(key); found != here_.end() && found->second == name) continue;
    const auto left = left_.find(name);
    if (left == left_.end()) continue;
    lines.push_back("client \"" + name + "\" is back");
    left_.erase(left);
  }
  here_ = std::move(here);
  return lines;
}

}  // namespace service::alsa
