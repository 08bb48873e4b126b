// A device whose ports come and go.
#pragma once

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "strmsrv.h"
#include "tests/platform/client/fixture.h"

namespace client {

// A device that does what a test hands it, on the service's thread.
class ObeyingDevice : public service::TestDevice {
 public:
  explicit ObeyingDevice(service::Told& told) : TestDevice(service::evenTopology(0, 0), {}, told) {
    descriptor = wake_;
  }
  ~ObeyingDevice() override { close(wake_); }

  // Returns when it is done and the service has dealt with it.
  void act(const std::function<void(ObeyingDevice&)>& action) {
    action_ = &action;
    eventfd_write(wake_, 1);
    const testsupport::Deadline deadline(Patience);
    while (action_ != nullptr && !deadline.passed()) usleep(100);
    EXPECT_EQ(action_, nullptr);
  }

  std::optional<device::Time> advance(device::Time now) override {
    // The turn after it, so that the news are on their way.
    if (std::exchange(acted_, false)) action_ = nullptr;
    eventfd_t wakes = 0;
    if (eventfd_read(wake_, &wakes) != 0) return std::nullopt;
    (*action_.load())(*this);
    acted_ = true;
    return now;
  }

 private:
  int wake_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  std::atomic<const std::function<void(ObeyingDevice&)>*> action_{nullptr};
  bool acted_ = false;
};

// A group that wants its handle for its id, unless that is beyond all names; its sources are called so; an empty name
// stands for one that has gone.
inline device::Group group(std::uint64_t handle, const std::string& name, const std::vector<std::string>& sources,
                           const std::vector<std::string>& sinks) {
  const auto side = [](const std::vector<std::string>& names, const std::string& front) {
    device::SideOfGroup made{static_cast<std::uint16_t>(names.size()), "", names};
    for (std::size_t at = 0; at < names.size(); ++at) {
      made.gone.push_back(names[at].empty());
      if (names[at].empty()) made.names[at] = front + std::to_string(at);
    }
    return made;
  };
  device::Group made{handle, name, std::nullopt, std::nullopt};
  if (handle < StrmSrv::GroupNames::Count) made.wantedId = static_cast<std::uint16_t>(handle);
  if (!sources.empty()) made.sources = side(sources, name + "GoneOut");
  if (!sinks.empty()) made.sinks = side(sinks, name + "GoneIn");
  return made;
}

}  // namespace client
