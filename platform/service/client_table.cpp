#include "platform/service/client_table.h"

#include <algorithm>
#include <utility>

namespace service {
namespace {

// Dropped from one client before another one may have the most.
constexpr std::size_t DropBytes = 64U << 10U;

// Dropped at once when there is too much: some 2 ms, and then as much may be added.
constexpr std::size_t ReliefBytes = 2U << 20U;

// Looking for what to drop costs too much for less than this.
constexpr std::size_t LeastRelief = 64U << 10U;

}  // namespace

ClientId ClientTable::add(std::uint32_t user) {
  const ClientId client{++last_};
  clients_.emplace(client, Client{.queue = TapQueue(queueBytes_), .id = client, .user = user});
  User& known = users_[user];
  ++known.clients;
  ++known.present;
  enter(user, 0, ClientBytes);
  return client;
}

void ClientTable::remove(ClientId client) {
  const auto found = clients_.find(client);
  if (found == clients_.end()) return;
  --users_.at(found->second.user).present;
  removed_.push_back(std::move(found->second));
  clients_.erase(found);
}

void ClientTable::sweep(std::size_t memory) {
  const std::size_t before = memory_;
  while (!removed_.empty()) {
    Client& client = removed_.front();
    const std::size_t freed = before - memory_;
    // Whatever is dropped here has been counted as accepted, and stays so.
    if (client.queue.hasEvents() && freed < memory) client.queue.dropOldest(memory - freed);
    const std::size_t left = client.queue.hasEvents() ? client.queue.memory() : 0;
    const auto user = users_.find(client.user);
    user->second.memory -= client.memory - left;
    memory_ -= client.memory - left;
    enter(client.user, client.memory, left);
    client.memory = left;
    if (client.queue.hasEvents()) return;
    enter(client.user, ClientBytes, 0);
    if (--user->second.clients == 0) users_.erase(user);
    removed_.pop_front();
  }
}

template <class Change>
void ClientTable::change(Client& client, const Change& change) {
  change(client.queue);
  // Unsigned differences may wrap; their sums are right.
  accepted_ += client.queue.accepted() - std::exchange(client.accepted, client.queue.accepted());
  const std::uint64_t lost = client.queue.lost() - std::exchange(client.lost, client.queue.lost());
  lost_ += lost;
  if (lost > 0 && !std::exchange(client.isLosing, true)) losing_.push_back(client.id);
  const std::size_t memory = client.queue.memory();
  if (memory == client.memory) return;
  enter(client.user, client.memory, memory);
  const std::size_t more = memory - std::exchange(client.memory, memory);
  memory_ += more;
  users_.at(client.user).memory += more;
}

void ClientTable::addMessage(ClientId client, EventPortId eventPort, device::PortId port, std::string_view name,
                             std::uint32_t holderBytes, const device::Message& message, device::Time now) {
  const auto found = clients_.find(client);
  if (found == clients_.end()) return;
  Client& known = found->second;
  const bool wasEmpty = known.queue.empty();
  // The largest users may hold what cannot be dropped here; then nobody gets more.
  const bool isFull = ledger_ != nullptr && ledger_->isFull();
  change(known, [&](TapQueue& queue) {
    if (isFull) return queue.lose();
    queue.add(eventPort, port, name, holderBytes, message, now);
  });
  if (wasEmpty && !std::exchange(known.isReady, true)) ready_.push_back(client);
  relieve();
}

void ClientTable::addLossBefore(ClientId client, std::uint64_t count) {
  const auto found = clients_.find(client);
  if (found == clients_.end()) return;
  Client& known = found->second;
  const bool wasEmpty = known.queue.empty();
  known.queue.addLossBefore(count);
  if (wasEmpty && !std::exchange(known.isReady, true)) ready_.push_back(client);
}

std::size_t ClientTable::take(ClientId client, std::size_t maxBytes, std::vector<std::uint8_t>& out) {
  const auto found = clients_.find(client);
  if (found == clients_.end()) return 0;
  std::size_t taken = 0;
  change(found->second, [&](TapQueue& queue) { taken = queue.take(maxBytes, out); });
  return taken;
}

bool ClientTable::hasEvents(ClientId client) const {
  const auto found = clients_.find(client);
  return found != clients_.end() && !found->second.queue.empty();
}

std::vector<ClientId> ClientTable::takeReady() {
  std::vector<ClientId> ready = std::exchange(ready_, {});
  std::erase_if(ready, [this](ClientId id) {
    const auto found = clients_.find(id);
    if (found == clients_.end()) return true;
    found->second.isReady = false;
    return found->second.queue.empty();
  });
  return ready;
}

std::vector<ClientId> ClientTable::takeLosing() {
  std::vector<ClientId> losing = std::exchange(losing_, {});
  std::erase_if(losing, [this](ClientId id) {
    const auto found = clients_.find(id);
    if (found != clients_.end()) found->second.isLosing = false;
    return found == clients_.end();
  });
  return losing;
}

void ClientTable::enter(std::uint32_t user, std::size_t before, std::size_t now) {
  if (ledger_ != nullptr) ledger_->change(user, before, now);
}

std::size_t ClientTable::relieve() {
  if (ledger_ == nullptr || !ledger_->isOver()) return 0;
  const std::size_t before = memory_;
  sweep(ReliefBytes);
  // Nobody misses what removed clients have left, so it goes first.
  if (hasRemoved()) return before - memory_;
  const auto user = ledger_->heaviest();
  // More than the excess, so that this is not due again at once.
  const std::size_t wanted = std::min(ReliefBytes, ledger_->excess() + ledger_->ceiling() / 64);
  if (user && memory(*user) >= std::min(LeastRelief, wanted)) drop(user, wanted);
  return before - memory_;
}

std::uint32_t ClientTable::user(ClientId client) const {
  const auto found = clients_.find(client);
  return found == clients_.end() ? 0 : found->second.user;
}

std::size_t ClientTable::clientsOf(std::uint32_t user) const {
  const auto found = users_.find(user);
  return found == users_.end() ? 0 : found->second.present;
}

std::size_t ClientTable::memory(std::uint32_t user) const {
  const auto found = users_.find(user);
  return found == users_.end() ? 0 : found->second.memory;
}

std::size_t ClientTable::dropOldest(std::size_t memory) { return drop(std::nullopt, memory); }

std::size_t ClientTable::dropOldestOf(std::uint32_t user, std::size_t memory) { return drop(user, memory); }

std::size_t ClientTable::drop(std::optional<std::uint32_t> only, std::size_t memory) {
  const std::size_t before = memory_;
  if (!only) sweep(memory);
  // The clients of each user, those with the most memory at the front of a heap.
  struct Candidates {
    std::size_t memory = 0;  // of all of them
    std::vector<Client*> clients{};
  };
  const auto less = [](const Client* one, const Client* other) { return one->memory < other->memory; };
  std::map<std::uint32_t, Candidates> users;
  for (auto& [id, client] : clients_) {
    if (!client.queue.hasEvents() || (only && client.user != *only)) continue;
    Candidates& candidates = users[client.user];
    candidates.memory += client.memory;
    candidates.clients.push_back(&client);
  }
  for (auto& [user, candidates] : users) std::ranges::make_heap(candidates.clients, less);
  while (before - memory_ < memory && !users.empty()) {
    const auto most = std::ranges::max_element(users, {}, [](const auto& one) { return one.second.memory; });
    auto& [total, clients] = most->second;
    Client& client = *clients.front();
    std::ranges::pop_heap(clients, less);
    const std::size_t had = client.memory;
    const std::size_t wanted = std::min(DropBytes, memory - (before - memory_));
    change(client, [&](TapQueue& queue) { queue.dropOldest(wanted); });
    total -= had - client.memory;
    if (client.queue.hasEvents()) {
      std::ranges::push_heap(clients, less);
    } else {
      clients.pop_back();
      if (clients.empty()) users.erase(most);
    }
  }
  return before - memory_;
}

ClientCounts ClientTable::counts(ClientId client) const {
  const auto found = clients_.find(client);
  if (found == clients_.end()) return {};
  const Client& known = found->second;
  return {0, known.in, known.queue.accepted(), known.queue.lost(), known.queue.bytes(), known.unsendable};
}

Counts ClientTable::counts() const { return {.out = accepted_, .lost = lost_}; }

}  // namespace service
