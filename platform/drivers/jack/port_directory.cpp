#include "platform/drivers/jack/port_directory.h"

#include <algorithm>

namespace service::jack {

bool PortDirectory::update(const std::vector<JackPort>& ports) {
  std::vector<ForeignClient> clients;
  std::unordered_map<std::string, std::size_t> places;
  for (const auto& [name, emits] : ports) {
    const std::string client = name.substr(0, name.find(':'));
    const auto [place, isNew] = places.try_emplace(client, clients.size());
    if (isNew) clients.push_back({keyOf(client), client, {}});
    clients[place->second].ports.push_back({keyOf(name), name, name, emits, !emits});
  }
  clients_.clear();
  for (const ForeignClient& client : clients) clients_.push_back(client.name);
  return book_.update(clients);
}

std::optional<std::string> PortDirectory::name(PortId port) const {
  const auto key = book_.key(port);
  return key ? std::optional(names_[static_cast<std::size_t>(*key)]) : std::nullopt;
}

std::optional<PortId> PortDirectory::place(const std::string& name, Side side) const {
  const auto key = keys_.find(name);
  return key == keys_.end() ? std::nullopt : book_.place(key->second, side);
}

std::uint64_t PortDirectory::keyOf(const std::string& name) {
  const auto [key, isNew] = keys_.try_emplace(name, names_.size());
  if (isNew) names_.push_back(name);
  return key->second;
}

}  // namespace service::jack
