#include "platform/drivers/jack/patches.h"

#include <jack/jack.h>

#include <algorithm>
#include <cerrno>

#include "platform/system/earliest.h"

namespace drivers::jack {
namespace {

// Requests without an answer. A client waits for each answer, so there are more only if it breaks this rule.
constexpr std::size_t MostOpen = 4096;

int changeConnection(const Client& client, bool made, const std::string& source, const std::string& sink) {
  return made ? jack_connect(client.handle(), source.c_str(), sink.c_str())
              : jack_disconnect(client.handle(), source.c_str(), sink.c_str());
}

}  // namespace

void Patches::ask(Client& client, device::RequestId request, bool made, const device::Link& link,
                  const std::pair<std::string, std::string>& names, device::DriverEvents& events, device::Time now) {
  if (open_.size() >= MostOpen) return events.patched(request, device::Status::Refused, now);
  const auto& [source, sink] = names;
  const auto work = [&client, made, names] { return changeConnection(client, made, names.first, names.second); };
  Open open{request, made, link, source, sink, now + ServerPatience};
  const auto undo = [&client, made, names, isUndone = open.isUndone](int result) {
    if (result == 0) *isUndone = changeConnection(client, !made, names.first, names.second) == 0;
  };
  open.request = server_.ask(work, ServerThread::Turn::SomebodyWaits, undo);
  open_.push_back(std::move(open));
}

bool Patches::isNews(const std::string& source, const std::string& sink, bool made) {
  if (!echoes_.isNews(source, sink, made)) return false;
  const auto same = [&](const Open& open) { return open.source == source && open.sink == sink; };
  for (Open& open : open_) {
    if (same(open)) open.changed = true;
  }
  // JACK may report our change before it answers. Of the same change it reports the older request's first.
  const auto ours = std::ranges::find_if(open_, [&](const Open& open) { return same(open) && explains(open, made); });
  if (ours == open_.end()) return true;
  ours->isReverted = std::exchange(ours->echoed, true);
  return true;
}

std::optional<device::Time> Patches::advance(device::DriverEvents& events, device::Time now) {
  std::optional<device::Time> next;
  for (auto at = open_.begin(); at != open_.end();) {
    auto result = server_.result(at->request);
    if (at->isWithdrawn) {
      if (result) finishWithdrawn(*at, *result);
      at = result ? open_.erase(at) : std::next(at);
      continue;
    }
    if (!result && now < at->deadline) {
      sys::keepEarlier(next, at->deadline);
      ++at;
      continue;
    }
    const auto withdrawn = result ? ServerThread::Withdrawn::Done : server_.withdraw(at->request);
    if (withdrawn == ServerThread::Withdrawn::Done) result = server_.result(at->request);
    if (!result) tooLong_ = true;
    const device::Status status = result ? finish(*at, *result, events, now) : device::Status::Refused;
    events.patched(at->id, status, now);
    at->isWithdrawn = withdrawn == ServerThread::Withdrawn::Undone;
    at = at->isWithdrawn ? std::next(at) : open_.erase(at);
  }
  return next;
}

// Nobody is to hear of a change that was undone, unless the change has been heard of.
void Patches::finishWithdrawn(const Open& open, int result) {
  if (result != 0 || open.echoed || !*open.isUndone) return;
  echoes_.expect(open.source, open.sink, open.made);
  echoes_.expect(open.source, open.sink, !open.made);
}

// The connection is now as the request wanted it, unless JACK has reported a later change.
device::Status Patches::finish(const Open& open, int result, device::DriverEvents& events, device::Time now) {
  if (open.made) {
    if (result != 0 && result != EEXIST) return device::Status::Refused;
    links_.changed(open.source, open.sink);
    if (result == 0 && !open.echoed) echoes_.expect(open.source, open.sink, true);
    if (result == 0 ? !open.echoed : !open.changed) events.linked(open.link, now);
    return device::Status::Ok;
  }
  if (result != 0) return device::Status::NotFound;
  links_.changed(open.source, open.sink);
  if (!open.echoed) {
    echoes_.expect(open.source, open.sink, false);
    events.unlinked(open.link, now);
  }
  return device::Status::Ok;
}

void Patches::clientGone(device::DriverEvents& events, device::Time now) {
  for (const Open& open : std::exchange(open_, {})) {
    if (!open.isWithdrawn) events.patched(open.id, device::Status::NotFound, now);
  }
  echoes_.clear();
  tooLong_ = false;
}

}  // namespace drivers::jack
