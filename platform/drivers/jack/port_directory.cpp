#include "platform/drivers/jack/port_directory.h"

#include <utility>

namespace drivers::jack {

bool PortDirectory::update(const std::vector<JackPort>& ports) {
  std::vector<ForeignClient> clients;
  std::unordered_map<std::string, std::size_t> places;
  Keys now;
  for (const auto& [name, emits] : ports) {
    const std::string client = name.substr(0, name.find(':'));
    const auto [place, isNew] = places.try_emplace(client, clients.size());
    if (isNew) clients.push_back({keyOf(client, now), client, {}});
    clients[place->second].ports.push_back({keyOf(name, now), name, name, emits, !emits});
  }
  keys_ = std::move(now);
  names_.clear();
  for (const auto& [name, key] : keys_) names_.emplace(key, name);
  clients_.clear();
  for (const ForeignClient& client : clients) clients_.push_back({0, client.name, {}});
  return book_.update(clients);
}

std::optional<std::string> PortDirectory::name(device::PortId port) const {
  const auto key = book_.key(port);
  const auto found = key ? names_.find(*key) : names_.end();
  return found == names_.end() ? std::nullopt : std::optional(found->second);
}

std::optional<device::PortId> PortDirectory::place(const std::string& name, device::Side side) const {
  const auto key = keys_.find(name);
  return key == keys_.end() ? std::nullopt : book_.place(key->second, side);
}

std::optional<device::Link> PortDirectory::link(const std::string& source, const std::string& sink) const {
  const auto from = keys_.find(source);
  const auto to = keys_.find(sink);
  return from == keys_.end() || to == keys_.end() ? std::nullopt : book_.link(from->second, to->second);
}

// A name that is known already keeps its key.
std::uint64_t PortDirectory::keyOf(const std::string& name, Keys& now) {
  if (const auto known = now.find(name); known != now.end()) return known->second;
  const auto before = keys_.find(name);
  return now.emplace(name, before == keys_.end() ? nextKey_++ : before->second).first->second;
}

}  // namespace drivers::jack
