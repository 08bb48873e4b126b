// The part of a session that reads and changes the patch graph.
#include <exception>
#include <mutex>
#include <span>

#include "platform/client/session.h"

namespace EvtSrv {

using channel::Deadline;

namespace {

// A listing asks a hundred thousand times. Reading the socket each time would cost four fifths of its time, in system
// calls that find nothing. A mirror this old is indistinguishable from one read just before the change.
constexpr std::chrono::microseconds GraphLookInterval{50};

// How often the receiving thread reads changes. The report about connections that a service has lost may be this old.
constexpr std::chrono::milliseconds FollowInterval{200};

}  // namespace

std::optional<device::Status> EventPortManager::Session::patch(bool made, const wire::LinkRecord& link,
                                                               std::uint64_t number) {
  const Deadline deadline(channel::AnswerTime);
  const std::lock_guard guard(mutex_);
  // Before the change, so that what follows it arrives as changes.
  if (!attached() || silent()) return std::nullopt;
  if (channels_->control.session() != number) return device::Status::NoSession;
  if (!bringMirrorUp(deadline)) {
    noticeLoss(deadline);
    return std::nullopt;
  }
  const wire::Patch change{
      channels_->control.session(), made, link.sourceGroup, link.sourceIndex, link.sinkGroup, link.sinkIndex};
  const auto result = channels_->control.ask<wire::Result>(change, deadline);
  if (result && waitForVersion(result->graphVersion, deadline)) return result->status;
  noticeLoss(deadline);
  return std::nullopt;
}

bool EventPortManager::Session::peersOf(PeersOf peers, channel::ServicePort port, std::uint64_t number,
                                        std::vector<channel::ServicePort>& result) {
  result.clear();
  const Deadline deadline(channel::AnswerTime);
  const std::lock_guard guard(mutex_);
  if (!attached() || channels_->control.session() != number || !lookAtGraph(deadline)) return false;
  const auto found = (mirror_.*peers)(port);
  result.assign(found.begin(), found.end());
  return true;
}

std::optional<std::uint64_t> EventPortManager::Session::graphVersion(std::uint64_t number) {
  const Deadline deadline(channel::AnswerTime);
  const std::lock_guard guard(mutex_);
  if (!attached() || channels_->control.session() != number || !lookAtGraph(deadline)) return std::nullopt;
  return mirror_.version();
}

bool EventPortManager::Session::openGraph(const Deadline& deadline) {
  auto& graph = channels_->graph;
  if (graph && graph->isOpen()) return true;
  if (silent()) return false;
  try {
    if (!graph) graph.emplace(connector_, channels_->control.session());
  } catch (const std::exception&) {
    return false;
  }
  const channel::Opening opening = graph->open(deadline);
  // The service no longer knows this client.
  if (opening == channel::Opening::Refused) lose();
  return opening == channel::Opening::Opened;
}

bool EventPortManager::Session::lookAtGraph(const Deadline& deadline) {
  const auto now = std::chrono::steady_clock::now();
  if (mirrorValid_ && now < nextGraphLook_) return true;
  nextGraphLook_ = now + GraphLookInterval;
  // Otherwise the mirror of a service that is gone would never change.
  if (!channels_->control.lost() && bringMirrorUp(deadline)) return true;
  noticeLoss(deadline);
  return false;
}

bool EventPortManager::Session::bringMirrorUp(const Deadline& deadline) {
  if (!openGraph(deadline)) return false;
  if (!channels_->graph->drain(mirror_)) mirrorValid_ = false;
  if (mirrorValid_ || silent()) return mirrorValid_;
  const auto links = channels_->control.ask<wire::Links>(wire::AskLinks{channels_->control.session()}, deadline);
  if (!links) return false;
  mirror_.reset(*links);
  mirrorValid_ = true;
  mirrorKnown_ = true;
  return true;
}

// Unread changes are lost with their channel, so they must be read before the service is gone.
void EventPortManager::Session::followGraph() {
  const auto now = std::chrono::steady_clock::now();
  if (now < nextFollow_) return;
  const std::unique_lock guard(mutex_, std::try_to_lock);
  if (!guard) return;
  nextFollow_ = now + FollowInterval;
  if (mirrorValid_ && channels_ && channels_->graph && !channels_->graph->drain(mirror_)) mirrorValid_ = false;
}

bool EventPortManager::Session::waitForVersion(std::uint64_t version, const Deadline& deadline) {
  while (bringMirrorUp(deadline)) {
    if (mirror_.version() >= version) return true;
    if (!channels_->graph->wait(deadline)) return false;
  }
  return false;
}

}  // namespace EvtSrv
