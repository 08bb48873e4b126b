#include "platform/client/port_names.h"

#include <gtest/gtest.h>

#include <vector>

#include "platform/device/topology.h"
#include "platform/host/topology_message.h"

namespace client {
namespace {

using device::Side;

using device::SideOfGroup;

// The service's own view of a device, and the client's.
TEST(PortNames, EqualTheNamesOfTheService) {
  const std::string longName(55, 'L');
  const device::Topology topology({
      device::numberedGroup(0, "Keys", 3, std::nullopt),
      device::numberedGroup(1, "Box", 0, 2),
      // Ports with the names that ports which do not exist would have.
      {2,
       "Odd",
       SideOfGroup{3, "", {"KeysOut4", "Group9In1", "KeysOut4_2"}},
       SideOfGroup{2, "", {"BoxOut1", "x"}},
       {},
       2},
      device::numberedGroup(41, longName, 2, 65'535),
      device::numberedGroup(65'535, "Last", 1, 1),
  });
  const PortNames names(host::topologyMessage(topology, 0));
  const std::vector<std::uint16_t> groups{0, 1, 2, 9, 41, 65'534, 65'535};
  const std::vector<std::uint16_t> indexes{0, 1, 2, 3, 4, 9, 99, 65'533, 65'534, 65'535};
  for (const std::uint16_t group : groups) {
    for (const std::uint16_t index : indexes) {
      EXPECT_EQ(names.name(group, index, Side::Source), topology.name({group, index, device::Side::Source}));
      EXPECT_EQ(names.name(group, index, Side::Sink), topology.name({group, index, device::Side::Sink}));
    }
  }
  EXPECT_EQ(names.name(0, 3, Side::Source), "KeysOut4_3");
  EXPECT_EQ(names.name(9, 0, Side::Sink), "Group9In1_2");
  EXPECT_EQ(names.name(1, 0, Side::Source), "BoxOut1_2");
  EXPECT_EQ(names.name(41, 65'534, Side::Sink), longName + "In65535");
}

TEST(PortNames, PortsOfUnknownGroupsAreNamedByTheirNumbers) {
  const PortNames names(wire::Topology{});
  EXPECT_EQ(names.name(3, 4, Side::Source), "Group3Out5");
  EXPECT_EQ(names.name(65'535, 65'535, Side::Sink), "Group65535In65536");
}

}  // namespace
}  // namespace client
