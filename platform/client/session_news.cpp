// What a session reports unasked: added groups and ports, and what a service that is back has lost.
#include <algorithm>
#include <chrono>
#include <mutex>

#include "platform/channel/address.h"
#include "platform/client/session.h"
#include "platform/system/program_line.h"

namespace EvtSrv {

using channel::Deadline;

namespace {

using Clock = std::chrono::steady_clock;

// A program that connects adds its ports one after the other.
constexpr std::chrono::milliseconds GatherTime{200};

// The shortest time between two queries of the same kind.
constexpr std::chrono::milliseconds NewsInterval{1000};

// Short, because other threads wait meanwhile.
constexpr std::chrono::milliseconds LookTime{500};

}  // namespace

void EventPortManager::Session::list(const wire::Topology& topology) {
  const std::lock_guard guard(mutex_);
  arrivals_.list(topology);
}

void EventPortManager::Session::lookForArrivals() {
  const auto now = Clock::now();
  const bool news = isBack_.exchange(false) || (events_ && events_->takeTopologyNews());
  if (news && !arrivalLook_) arrivalLook_ = std::max(now + GatherTime, nextArrivalLook_);
  if (!arrivalLook_ || now < *arrivalLook_) return;
  // Received events must not wait for a request of another thread.
  const std::unique_lock guard(mutex_, std::try_to_lock);
  if (!guard || !channels_ || silent()) return;
  arrivalLook_.reset();
  // Without a console nobody needs the news. As we do not ask, the service sends no more.
  if (!arrivals_.isListed()) return;
  const Deadline deadline(LookTime);
  auto topology = channels_->control.ask<wire::Topology>(wire::AskTopology{channels_->control.session()}, deadline);
  nextArrivalLook_ = Clock::now() + NewsInterval;
  if (!topology) {
    // Does not count as silent: other requests have a longer timeout.
    arrivalLook_ = nextArrivalLook_;
    if (channels_->control.lost()) lose();
    return;
  }
  keepTopology(std::move(*topology));
  if (const auto line = arrivals_.look(topology_)) sys::sayLine(channel::addressLine(address_, *line));
}

void EventPortManager::Session::tellLostLinks() {
  const std::unique_lock guard(mutex_, std::try_to_lock);
  if (!guard || !channels_ || silent() || Clock::now() < nextLossLook_) return;
  reportLostLinks();
  if (lossIsUntold_ && channels_->control.lost()) lose();
}

void EventPortManager::Session::reportLostLinks() {
  lossIsUntold_ = false;
  if (carried_.empty()) return;
  auto& control = channels_->control;
  const auto topology = control.ask<wire::Topology>(wire::AskTopology{control.session()}, Deadline(LookTime));
  const auto links =
      topology ? control.ask<wire::Links>(wire::AskLinks{control.session()}, Deadline(LookTime)) : std::nullopt;
  lossIsUntold_ = !links;
  nextLossLook_ = Clock::now() + NewsInterval;
  if (!links) return;
  if (const auto line = carried_.compare(*links, *topology)) sys::sayLine(channel::addressLine(address_, *line));
}

}  // namespace EvtSrv
