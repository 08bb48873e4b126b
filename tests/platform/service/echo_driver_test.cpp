// A minimal driver; docs/drivers.md refers to it.
#include <gtest/gtest.h>

#include <limits>
#include <memory>

#include "platform/device/driver.h"
#include "platform/service/service.h"
#include "tests/platform/service/received.h"

namespace service {
namespace {

// One group with one port on either side. What arrives at the sink, the source emits.
class EchoDriver : public device::Driver {
 public:
  const device::Topology& topology() const override { return topology_; }

  device::Started start(device::DriverEvents& events, device::Time /*now*/) override {
    events_ = &events;
    return {};
  }

  device::Delivery deliver(device::PortId sink, const device::Message& message, device::Time now) override {
    events_->emitted({sink.group, sink.index, device::Side::Source}, message, now);
    return device::Delivery::Taken;
  }

  std::optional<device::Status> setUsed(device::PortId /*source*/, bool /*used*/, device::Time /*now*/) override {
    return device::Status::Ok;
  }
  std::optional<device::Time> advance(device::Time /*now*/) override { return std::nullopt; }

 private:
  device::Topology topology_{{device::numberedGroup(0, "Echo", 1, 1)}};
  device::DriverEvents* events_ = nullptr;
};

TEST(EchoDriver, HasItsPortsInTheService) {
  const Service service(std::make_unique<EchoDriver>(), {}, {});
  EXPECT_TRUE(service.topology().port("EchoOut1").has_value());
  EXPECT_TRUE(service.topology().port("EchoIn1").has_value());
}

TEST(EchoDriver, EmitsMessagesThatArrive) {
  constexpr EventPortId One{1};
  Service service(std::make_unique<EchoDriver>(), {}, {});
  const ClientId client = service.addClient();
  for (const char* name : {"EchoIn1", "EchoOut1"}) {
    EXPECT_EQ(service.tap(client, One, name, 1004, {}), device::Status::Ok);
  }
  const Bytes note{0x90, 0x3C, 0x40};
  EXPECT_EQ(service.inject(client, "EchoIn1", {5, note}, {}), device::Status::Ok);
  Bytes entries;
  service.takeEvents(client, std::numeric_limits<std::size_t>::max(), entries);
  EXPECT_EQ(textsOf(readEntries(entries)), (Texts{"1 EchoIn1: 90 3C 40", "1 EchoOut1: 90 3C 40"}));
}

}  // namespace
}  // namespace service
