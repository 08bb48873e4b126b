#include "platform/service/open_requests.h"

#include <algorithm>

namespace service {

RequestId OpenRequests::add(Request request) {
  const RequestId id{++last_};
  open_.emplace(id, request);
  return id;
}

void OpenRequests::answer(RequestId request, device::Status status) {
  if (open_.erase(request) > 0) answers_.push_back({request, status});
}

void OpenRequests::resolve(const std::function<std::optional<device::Status>(const Request&)>& ready) {
  for (auto at = open_.begin(); at != open_.end();) {
    const auto status = std::holds_alternative<Patch>(at->second) ? std::nullopt : ready(at->second);
    if (!status) {
      ++at;
      continue;
    }
    answers_.push_back({at->first, *status});
    at = open_.erase(at);
  }
}

Reply OpenRequests::reply(RequestId request) {
  const auto found = std::ranges::find(answers_, request, &Answer::request);
  if (found == answers_.end()) return {std::nullopt, request};
  const Reply reply{found->status, request};
  answers_.erase(found);
  return reply;
}

void OpenRequests::forget(ClientId client) {
  std::erase_if(open_, [&](const auto& entry) {
    const Tap* tap = std::get_if<Tap>(&entry.second);
    return tap != nullptr && tap->client == client;
  });
}

void OpenRequests::move(device::PortId from, device::PortId to) {
  for (auto& [id, request] : open_) {
    Tap* tap = std::get_if<Tap>(&request);
    if (tap != nullptr && tap->port == from) tap->port = to;
  }
}

}  // namespace service
