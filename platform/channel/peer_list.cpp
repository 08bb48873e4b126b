#include "platform/channel/peer_list.h"

#include <limits>

namespace channel {

namespace {

// In a shorter list, a search costs less than an index.
constexpr std::size_t LongList = 64;

constexpr ServicePort Gap{0, std::numeric_limits<std::uint16_t>::max()};

}  // namespace

void PeerList::add(ServicePort port) {
  if (places_) places_->of[port] = ports_.size();
  ports_.push_back(port);
}

void PeerList::remove(ServicePort port) {
  if (!places_ && ports_.size() < LongList) {
    std::erase(ports_, port);
    return;
  }
  if (!places_) {
    places_ = std::make_unique<Places>();
    places_->of.reserve(ports_.size());
    for (std::size_t at = 0; at < ports_.size(); ++at) places_->of.emplace(ports_[at], at);
  }
  const auto found = places_->of.find(port);
  if (found == places_->of.end()) return;
  ports_[found->second] = Gap;
  places_->of.erase(found);
  ++places_->gaps;
  // This drops the index, so it must not happen too often.
  if (places_->gaps > ports_.size() / 2) close();
}

std::span<const ServicePort> PeerList::all() {
  if (gapCount() > 0) close();
  return ports_;
}

void PeerList::close() {
  std::erase(ports_, Gap);
  places_.reset();
}

}  // namespace channel
