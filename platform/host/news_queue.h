// Clients that want to hear of something.
#pragma once

#include <cstddef>
#include <list>
#include <optional>
#include <unordered_map>

#include "platform/service/client_id.h"

namespace host {

// Who has all news, and who waits for some. When something new comes, all wait, and are told one after another: every
// operation takes constant time, however many there are.
class NewsQueue {
 public:
  NewsQueue() = default;
  NewsQueue(const NewsQueue&) = delete;
  NewsQueue& operator=(const NewsQueue&) = delete;
  ~NewsQueue() = default;

  // This client wants news, and has all that there are now.
  void enter(service::ClientId client) {
    const auto [known, isNew] = places_.try_emplace(client);
    if (isNew) {
      known->second = clients_.insert(clients_.end(), client);
    } else {
      take(known->second);
      clients_.splice(clients_.end(), clients_, known->second);
    }
    if (informed_ == clients_.end()) informed_ = known->second;
  }

  // This client wants no news any more. Unknown clients are no error.
  void leave(service::ClientId client) {
    const auto known = places_.find(client);
    if (known == places_.end()) return;
    take(known->second);
    clients_.erase(known->second);
    places_.erase(known);
  }

  // There is something new: all wait.
  void announce() { informed_ = clients_.end(); }

  // The client whose turn it is; nullopt if nobody waits.
  std::optional<service::ClientId> next() const {
    return clients_.begin() == informed_ ? std::nullopt : std::optional(clients_.front());
  }

  // The next client comes behind all others that wait. There must be one.
  void postpone() { clients_.splice(informed_, clients_, clients_.begin()); }

  bool empty() const { return clients_.empty(); }
  std::size_t size() const { return clients_.size(); }

 private:
  using Clients = std::list<service::ClientId>;

  // This place is about to change.
  void take(Clients::iterator place) {
    if (place == informed_) ++informed_;
  }

  Clients clients_;                              // those that wait, then those that have all
  Clients::iterator informed_ = clients_.end();  // the first that has all
  std::unordered_map<service::ClientId, Clients::iterator> places_;
};

}  // namespace host
