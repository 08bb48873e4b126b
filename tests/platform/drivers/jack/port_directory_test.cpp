#include "platform/drivers/jack/port_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace drivers::jack {
namespace {

using testing::ElementsAre;

TEST(PortDirectory, ClientsAreGroupsAndFullNamesArePorts) {
  PortDirectory ports;
  EXPECT_TRUE(ports.update({{"synth:in", false}, {"keys:out 1", true}, {"synth:thru", true}, {"keys:a:b", true}}));
  EXPECT_THAT(ports.clients(), ElementsAre(ForeignClient{0, "synth", {}}, ForeignClient{0, "keys", {}}));
  ASSERT_EQ(ports.topology().groups().size(), 2U);
  EXPECT_EQ(ports.topology().groups()[0].name, "synth");
  EXPECT_EQ(ports.topology().groups()[0].sinks->names, std::vector<std::string>{"synth:in"});
  EXPECT_EQ(ports.topology().groups()[1].sources->names, (std::vector<std::string>{"keys:out_1", "keys:a:b"}));
  EXPECT_EQ(ports.topology().groups()[1].sources->originals, (std::vector<std::string>{"keys:out 1", "keys:a:b"}));
  EXPECT_EQ(ports.place("keys:a:b", device::Side::Source), (device::PortId{1, 1, device::Side::Source}));
  EXPECT_EQ(ports.place("keys:a:b", device::Side::Sink), std::nullopt);
  EXPECT_EQ(ports.name({1, 0, device::Side::Source}), "keys:out 1");
  EXPECT_EQ(ports.link("keys:a:b", "synth:in"), (device::Link{1, 1, 0, 0}));
  EXPECT_EQ(ports.link("synth:in", "keys:a:b"), std::nullopt);
  EXPECT_EQ(ports.link("keys:a:b", "synth:out"), std::nullopt);
}

TEST(PortDirectory, ReturningPortsHaveTheirPlacesAgain) {
  PortDirectory ports;
  ports.update({{"a:out", true}, {"b:out", true}});
  EXPECT_FALSE(ports.update({{"a:out", true}, {"b:out", true}}));
  EXPECT_TRUE(ports.update({{"b:out", true}}));
  EXPECT_EQ(ports.name({0, 0, device::Side::Source}), std::nullopt);
  EXPECT_EQ(ports.place("a:out", device::Side::Source), std::nullopt);
  EXPECT_TRUE(ports.update({{"b:out", true}, {"c:out", true}, {"a:out", true}}));
  EXPECT_EQ(ports.place("a:out", device::Side::Source), (device::PortId{0, 0, device::Side::Source}));
  EXPECT_EQ(ports.place("c:out", device::Side::Source), (device::PortId{2, 0, device::Side::Source}));
}

}  // namespace
}  // namespace drivers::jack
