#include "platform/service/client_table.h"

namespace service {

ClientId ClientTable::add() {
  const ClientId client{++last_};
  clients_.emplace(client, Client{.queue = TapQueue(queueBytes_)});
  return client;
}

void ClientTable::remove(ClientId client) {
  const ClientCounts counted = counts(client);
  past_.out += counted.out;
  past_.lost += counted.lost;
  clients_.erase(client);
}

TapQueue* ClientTable::queue(ClientId client) {
  const auto found = clients_.find(client);
  return found == clients_.end() ? nullptr : &found->second.queue;
}

const TapQueue* ClientTable::queue(ClientId client) const {
  const auto found = clients_.find(client);
  return found == clients_.end() ? nullptr : &found->second.queue;
}

ClientCounts ClientTable::counts(ClientId client) const {
  const auto found = clients_.find(client);
  if (found == clients_.end()) return {};
  const auto& [queue, in] = found->second;
  return {0, in, queue.accepted(), queue.lost(), queue.bytes()};
}

Counts ClientTable::counts() const {
  Counts all = past_;
  for (const auto& [id, client] : clients_) {
    all.out += client.queue.accepted();
    all.lost += client.queue.lost();
  }
  return all;
}

}  // namespace service
