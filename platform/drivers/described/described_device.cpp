#include "platform/drivers/described/described_device.h"

#include <map>
#include <unordered_set>
#include <utility>

namespace service {
namespace {

constexpr int MaxPieceOfPlayer = 256;  // messages of one player in one call of advance

class DeviceDriver : public Driver {
 public:
  explicit DeviceDriver(DeviceDescription description)
      : topology_(std::move(description.groups)),
        links_(std::move(description.links)),
        thrus_(description.thrus.begin(), description.thrus.end()) {
    for (auto& [source, score] : description.scores) players_.emplace(source, makePlayer(std::move(score)));
    for (const auto& [source, clock] : description.clocks) players_.emplace(source, makePlayer(clock));
  }

  const Topology& topology() const override { return topology_; }

  const std::vector<Link>& initialLinks() const override { return links_; }

  void start(DriverEvents& events, Time /*now*/) override { events_ = &events; }

  void deliver(PortId sink, const Message& message, Time now) override {
    const PortId source{sink.group, sink.index, Side::Source};
    if (thrus_.contains(sink.group) && topology_.exists(source)) events_->emitted(source, message, now);
  }

  void setUsed(PortId source, bool used, Time now) override {
    if (!used) return;
    const auto [first, last] = players_.equal_range(source);
    for (auto player = first; player != last; ++player) player->second->start(now);
  }

  std::optional<Time> advance(Time now) override {
    std::optional<Time> earliest;
    for (auto& [source, player] : players_) {
      for (int sent = 0; sent < MaxPieceOfPlayer; ++sent) {
        const auto message = player->next(now);
        if (!message) break;
        events_->emitted(source, *message, now);
      }
      const auto due = player->due();
      if (due && (!earliest || *due < *earliest)) earliest = due;
    }
    return earliest;
  }

 private:
  Topology topology_;
  std::vector<Link> links_;
  std::unordered_set<std::uint64_t> thrus_;
  std::multimap<PortId, std::unique_ptr<Player>> players_;
  DriverEvents* events_ = nullptr;
};

}  // namespace

std::unique_ptr<Driver> makeDeviceDriver(DeviceDescription description) {
  return std::make_unique<DeviceDriver>(std::move(description));
}

}  // namespace service
