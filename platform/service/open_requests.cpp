#include "platform/service/open_requests.h"

#include <algorithm>
#include <limits>

namespace service {

RequestId OpenRequests::add(const Use& request) {
  const RequestId id{++last_};
  uses_.emplace(id, request);
  if (const auto* tap = std::get_if<Tap>(&request)) taps_.emplace(tap->client, id);
  return id;
}

RequestId OpenRequests::addPatch() {
  const RequestId id{++last_};
  patches_.insert(id);
  return id;
}

void OpenRequests::answer(RequestId request, device::Status status) {
  if (patches_.erase(request) > 0) answers_.push_back({request, status});
}

void OpenRequests::review() {
  if (uses_.empty()) return;
  if (reviewing_) {
    // Those that this review has passed would miss the news.
    again_ = true;
  } else {
    reviewing_ = true;
    reviewed_ = {};
  }
}

void OpenRequests::resolve(const std::function<std::optional<device::Status>(const Use&)>& ready, std::size_t most) {
  for (; reviewing_ && most > 0; --most) {
    const auto at = uses_.upper_bound(reviewed_);
    if (at == uses_.end()) {
      reviewing_ = std::exchange(again_, false);
      reviewed_ = {};
      continue;
    }
    reviewed_ = at->first;
    const auto status = ready(at->second);
    if (!status) continue;
    answers_.push_back({at->first, *status});
    if (const auto* tap = std::get_if<Tap>(&at->second)) taps_.erase({tap->client, at->first});
    uses_.erase(at);
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
  const auto first = taps_.lower_bound({client, RequestId{}});
  auto next = first;
  for (; next != taps_.end() && next->first == client; ++next) uses_.erase(next->second);
  taps_.erase(first, next);
}

}  // namespace service
