// A service on a device whose ports and connections are another system's.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/service/service.h"
#include "tests/platform/service/received.h"

namespace service {

// Two groups with one port a side, whose connections within a group the service carries; those between groups are the
// other system's.
class ForeignDevice : public testing::Test {
 protected:
  ForeignDevice() {
    auto owned = std::make_unique<TestDevice>(evenTopology(2, 1), std::vector<device::Link>{}, told_);
    device_ = owned.get();
    device_->onPatch = [](device::DriverEvents& events, bool made,
                          const device::Link& wanted) -> std::optional<device::Status> {
      if (wanted.sourceGroup == wanted.sinkGroup) return std::nullopt;
      if (made) {
        events.linked(wanted, {});
      } else {
        events.unlinked(wanted, {});
      }
      return device::Status::Ok;
    };
    service_ = std::make_unique<Service>(std::move(owned), QueueLimits{}, device::Time{});
    client_ = service_->addClient();
    told_.clear();
  }

  Reply tap(const char* name) { return service_->tap(client_, EventPortId{1}, name, 1004, {}); }

  Texts texts() {
    Bytes entries;
    service_->takeEvents(client_, std::numeric_limits<std::size_t>::max(), entries);
    return textsOf(readEntries(entries));
  }

  Told news() { return std::exchange(told_, {}); }

  // Lets the device do something, as from inside advance.
  void act(const std::function<void(device::DriverEvents&)>& action) {
    device_->onAdvance = [&](device::DriverEvents& events, device::Time) -> std::optional<device::Time> {
      action(events);
      return std::nullopt;
    };
    service_->advance({});
    device_->onAdvance = nullptr;
  }

  Told told_;
  TestDevice* device_ = nullptr;
  std::unique_ptr<Service> service_;
  ClientId client_{};
};

inline const device::Link Across = link(out(0, 0), in(1, 0));
inline const device::Link Within = link(out(0, 0), in(0, 0));

}  // namespace service
