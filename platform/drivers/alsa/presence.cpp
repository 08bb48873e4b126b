#include "platform/drivers/alsa/presence.h"

#include <utility>

namespace drivers::alsa {

std::vector<std::string> Presence::update(std::span<const ForeignClient> clients) {
  std::map<std::uint64_t, std::string> here;
  for (const ForeignClient& client : clients) here.emplace(client.key, client.name);
  std::vector<std::string> lines;
  for (const auto& [key, name] : here_) {
    if (const auto found = here.find(key); found != here.end() && found->second == name) continue;
    lines.push_back("client \"" + name + "\" disconnected");
    left_.add(name);
  }
  for (const auto& [key, name] : here) {
    if (const auto found = here_.find(key); found != here_.end() && found->second == name) continue;
    if (left_.take(name)) lines.push_back("client \"" + name + "\" connected again");
  }
  here_ = std::move(here);
  return lines;
}

}  // namespace drivers::alsa
