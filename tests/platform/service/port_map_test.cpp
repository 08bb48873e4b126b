#include "platform/service/port_map.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

#include "tests/platform/service/device.h"

namespace service {
namespace {

using Ports = std::vector<device::PortId>;

TEST(PortMap, KeepsWhatAnOrdinaryMapKeeps) {
  std::mt19937 random(7);
  std::map<device::PortId, int> expected;
  PortMap<int> map;
  const auto anyPort = [&] {
    const std::uint16_t index = random() % 4 == 0 ? 0xFFFF : static_cast<std::uint16_t>(random() % 70);
    return device::PortId{random() % 3 * 1000, index, random() % 2 == 0 ? device::Side::Source : device::Side::Sink};
  };
  for (int i = 0; i < 20'000; ++i) {
    const device::PortId port = anyPort();
    if (random() % 2 == 0) {
      expected[port] = i;
      map[port] = i;
    } else {
      expected.erase(port);
      map.erase(port);
    }
    ASSERT_EQ(map.size(), expected.size());
    const device::PortId other = anyPort();
    const int* found = map.find(other);
    ASSERT_EQ(found != nullptr, expected.contains(other));
    ASSERT_EQ(found == nullptr ? 0 : *found, found == nullptr ? 0 : expected.at(other));
  }
  const auto all = expected;
  for (const auto& [port, value] : all) map.erase(port);
  EXPECT_TRUE(map.empty());
}

TEST(PortMap, ValuesStayWhereTheyAre) {
  PortMap<int> map;
  int* const one = &map[out(1, 0)];
  for (std::uint16_t index = 1; index < 1000; ++index) map[out(index % 50, index)] = 1;
  map.erase(out(1, 1));
  EXPECT_EQ(map.find(out(1, 0)), one);
}

TEST(PortMap, TellsWhichPortsAreMissingAndWhichUnknown) {
  std::vector<device::Group> groups = evenTopology(3, 20).groups();
  groups[1].sources->gone.assign(20, false);
  groups[1].sources->gone[18] = true;
  groups[2].sinks.reset();
  const device::Topology topology(groups);
  PortMap<int> map;
  const Ports there = {out(0, 19), in(0, 0), out(1, 17), in(1, 18), out(2, 3)};
  const Ports missing = {out(0, 20), out(1, 18), in(2, 3), out(7, 0)};
  const Ports unknown = {out(0, 20), in(2, 3), out(7, 0)};
  for (const Ports& ports : {there, missing}) {
    for (const device::PortId port : ports) map[port] = 1;
  }
  const auto sorted = [](Ports ports) {
    std::ranges::sort(ports);
    return ports;
  };
  EXPECT_EQ(sorted(map.missing(topology, 100)), sorted(missing));
  EXPECT_EQ(sorted(map.unknown(topology, 100)), sorted(unknown));
  EXPECT_EQ(map.missing(topology, 2).size(), 2U);
  EXPECT_TRUE(map.unknown(topology, 0).empty());
}

}  // namespace
}  // namespace service
