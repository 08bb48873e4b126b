#include "platform/drivers/described/described_device.h"

#include <map>
#include <unordered_set>
#include <utility>

namespace drivers {
namespace {

constexpr int MaxPieceOfPlayer = 256;  // messages of one player per call of advance

class DescribedDevice : public device::Driver {
 public:
  explicit DescribedDevice(DeviceDescription description)
      : topology_(std::move(description.groups)),
        links_(std::move(description.links)),
        thrus_(description.thrus.begin(), description.thrus.end()) {
    for (auto& [source, score] : description.scores) players_.emplace(source, midi::makePlayer(std::move(score)));
    for (const auto& [source, clock] : description.clocks) players_.emplace(source, midi::makePlayer(clock));
  }

  const device::Topology& topology() const override { return topology_; }

  device::Started start(device::DriverEvents& events, device::Time /*now*/) override {
    events_ = &events;
    return {.links = links_};
  }

  device::Delivery deliver(device::PortId sink, const device::Message& message, device::Time now) override {
    const device::PortId source{sink.group, sink.index, device::Side::Source};
    if (thrus_.contains(sink.group) && topology_.exists(source)) events_->emitted(source, message, now);
    return device::Delivery::Taken;
  }

  std::optional<device::Status> setUsed(device::PortId source, bool used, device::Time now) override {
    if (used) {
      const auto [first, last] = players_.equal_range(source);
      for (auto player = first; player != last; ++player) player->second->start(now);
    }
    return device::Status::Ok;
  }

  std::optional<device::Time> advance(device::Time now) override {
    std::optional<device::Time> earliest;
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
  device::Topology topology_;
  std::vector<device::Link> links_;
  std::unordered_set<std::uint64_t> thrus_;
  std::multimap<device::PortId, std::unique_ptr<midi::Player>> players_;
  device::DriverEvents* events_ = nullptr;
};

}  // namespace

std::unique_ptr<device::Driver> makeDescribedDevice(DeviceDescription description) {
  return std::make_unique<DescribedDevice>(std::move(description));
}

}  // namespace drivers
