#include "platform/channel/attachment.h"

#include <algorithm>
#include <utility>

namespace channel {
namespace {

// Interval of looking for a service that is gone.
constexpr std::chrono::milliseconds LookInterval{200};

// Time without a connection to a service that sends what it must not.
constexpr std::chrono::seconds FaultTime{10};

// Interval of trying missing taps, and how many at once: other threads wait meanwhile.
constexpr std::chrono::milliseconds RoundInterval{1000};
constexpr std::size_t TapsAtOnce = 100;

// Interval of asking for the connections of a service that is back.
constexpr std::chrono::milliseconds LinksInterval{1000};

std::string tapsText(std::size_t taps) { return std::to_string(taps) + (taps == 1 ? " tap" : " taps") + " restored"; }

std::string returnText(std::size_t attached, std::size_t wanted) {
  if (wanted == 0) return "connected to the service again";
  const std::string count = attached == wanted ? "" : std::to_string(attached) + " of ";
  return "connected to the service again, " + count + tapsText(wanted);
}

}  // namespace

Attachment::Action Attachment::next(device::Time now) {
  if (state_ == State::Attaching && reached() == nullptr) finishAttaching(now);
  switch (state_) {
    case State::Gone:
      if (now < nextLook_) return Wait{nextLook_};
      return Connect{now + ActionTime};
    case State::Attaching:
      return request(*reached(), now);
    case State::Attached:
      return nextWhenAttached(now);
    case State::Closed:
      break;
  }
  return Wait{Never};
}

std::optional<std::string> Attachment::takeLine() {
  if (lines_.empty()) return std::nullopt;
  std::string line = std::move(lines_.front());
  lines_.pop_front();
  return line;
}

Attachment::Action Attachment::nextWhenAttached(device::Time now) {
  if (isSilent(now)) return Wait{silentUntil_};
  if (!round_ && !carried_.empty() && now >= nextLinksLook_) return AskLinks{now + 2 * ActionTime};
  if (!round_ && tapsAreMissing_ && now >= nextRound_) startRound(now);
  if (round_) {
    if (const auto* tap = reached()) return request(*tap, now);
    endRound();
    return next(now);
  }
  return Wait{std::min(carried_.empty() ? Never : nextLinksLook_, tapsAreMissing_ ? nextRound_ : Never)};
}

void Attachment::connected(std::uint64_t session) {
  if (state_ == State::Closed) return;
  state_ = State::Attaching;
  session_ = session;
  silentUntil_ = device::Time(0);
  round_.emplace();
  for (const TapList::Entry* tap : taps_.inOrder()) round_->keys.push_back(tap->first);
}

TapList::Entry* Attachment::reached() {
  for (; round_->at < round_->keys.size(); ++round_->at) {
    // The client may have ended the tap meanwhile.
    if (auto* tap = taps_.find(round_->keys[round_->at])) return tap;
  }
  return nullptr;
}

Attachment::MakeTap Attachment::request(const TapList::Entry& tap, device::Time now) const {
  const auto& [key, wanted] = tap;
  return {{session_, key.first, wanted.holderBytes, key.second}, round_->until.value_or(now + TapTime)};
}

void Attachment::tapped(device::Status status) {
  auto* tap = round_ ? reached() : nullptr;
  if (tap == nullptr) return;
  tap->second.isMissing = status != device::Status::Ok;
  if (!tap->second.isMissing) ++round_->made;
  nextMissing_ = tap->second.order + 1;
  ++round_->at;
}

void Attachment::finishAttaching(device::Time now) {
  state_ = State::Attached;
  nextMissing_ = 0;
  tapsAreMissing_ = round_->made < taps_.size();
  if (wasLost_) say(returnText(round_->made, taps_.size()));
  round_.reset();
  nextRound_ = now + RoundInterval;
  nextLinksLook_ = now;
}

void Attachment::startRound(device::Time now) {
  nextRound_ = now + RoundInterval;
  round_.emplace();
  round_->until = now + ActionTime;
  const auto taps = taps_.inOrder();
  const auto orderOf = [](const TapList::Entry* tap) { return tap->second.order; };
  const auto first = static_cast<std::size_t>(std::ranges::lower_bound(taps, nextMissing_, {}, orderOf) - taps.begin());
  for (std::size_t i = 0; i < taps.size() && round_->keys.size() < TapsAtOnce; ++i) {
    const TapList::Entry& tap = *taps[(first + i) % taps.size()];
    if (tap.second.isMissing) round_->keys.push_back(tap.first);
  }
}

void Attachment::endRound() {
  if (round_->made > 0) say(tapsText(round_->made));
  round_.reset();
  tapsAreMissing_ = std::ranges::any_of(taps_.inOrder(), [](const auto* tap) { return tap->second.isMissing; });
}

void Attachment::answered(const wire::Links& links, const wire::Topology& topology, device::Time now) {
  nextLinksLook_ = now + LinksInterval;
  if (auto line = carried_.compare(links, topology)) say(std::move(*line));
}

void Attachment::unanswered(device::Time now) {
  if (state_ == State::Attached) {
    // Does not count as silent: other requests have a longer timeout.
    if (round_) {
      if (const auto* tap = reached()) nextMissing_ = tap->second.order + 1;
      endRound();
    } else {
      nextLinksLook_ = now + LinksInterval;
    }
    return;
  }
  if (state_ == State::Closed) return;
  state_ = State::Gone;
  round_.reset();
  nextLook_ = now + LookInterval;
}

void Attachment::lost(device::Time now, const std::optional<std::string>& fault) {
  if (!mayReturn_ || state_ != State::Attached) return;
  state_ = State::Gone;
  wasLost_ = true;
  round_.reset();
  nextLook_ = fault ? now + FaultTime : now;
  say(fault ? "connection closed: " + *fault : "connection to the service lost");
}

}  // namespace channel
