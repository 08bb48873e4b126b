// A service with a device and clients.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "platform/service/service.h"
#include "tests/platform/service/received.h"

namespace service {

inline constexpr std::size_t Everything = std::numeric_limits<std::size_t>::max();
inline constexpr EventPortId One{1};
inline constexpr EventPortId Two{2};
inline constexpr std::uint32_t Holder = 1004;

// A service on a device of four groups with two ports a side, and its clients' view of it.
struct House {
  explicit House(std::vector<device::Link> links = {}, QueueLimits limits = {},
                 const std::function<void(TestDevice&)>& prepare = nullptr,
                 device::Topology topology = evenTopology(4, 2), TableLimits tables = {}) {
    auto owned = std::make_unique<TestDevice>(std::move(topology), std::move(links), told);
    device = owned.get();
    if (prepare) prepare(*owned);
    service = std::make_unique<Service>(std::move(owned), limits, device::Time{}, tables);
    injector = service->addClient();
  }

  Reply tap(ClientId client, const char* name, EventPortId port = One) {
    return service->tap(client, port, name, Holder, {});
  }
  device::Status send(ClientId client, const Bytes& bytes, EventPortId port = One) {
    return service->send(client, port, {0, bytes}, {});
  }
  device::Status inject(const char* name, const Bytes& bytes) {
    return service->inject(injector, name, {0, bytes}, {});
  }

  std::vector<Received> take(ClientId client, std::size_t maxBytes = Everything) {
    Bytes entries;
    const std::size_t count = service->takeEvents(client, maxBytes, entries);
    EXPECT_EQ(count, entries.size());
    return readEntries(entries);
  }
  Texts texts(ClientId client) { return textsOf(take(client)); }

  // What the device was told since the last time.
  Told news() { return std::exchange(told, {}); }

  Told told;
  TestDevice* device = nullptr;
  std::unique_ptr<Service> service;
  ClientId injector{};
};

inline const device::Link Keys = link(out(0, 0), in(1, 0));
inline constexpr ClientId Nobody{77};

}  // namespace service
