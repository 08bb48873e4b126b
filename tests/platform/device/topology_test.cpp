#include "platform/device/topology.h"

#include <gtest/gtest.h>

#include "platform/device/names.h"

namespace device {
namespace {

Group listed(std::uint16_t id, const std::string& name, std::vector<std::string> sources) {
  Group group{id, name, std::nullopt, std::nullopt};
  const auto count = static_cast<std::uint16_t>(sources.size());
  group.sources = SideOfGroup{count, "", std::move(sources)};
  return group;
}

Topology sample() {
  return Topology({numberedGroup(0, "Keyboard", 1, std::nullopt), numberedGroup(7, "Midi2", 12, 3),
                   numberedGroup(300, "Empty", 0, 0), listed(5, "Real", {"left", "Midi2Out99"})});
}

TEST(Topology, FindsPortsByTheirNames) {
  const Topology topology = sample();
  const struct {
    std::string_view name;
    std::optional<PortId> port;
  } table[] = {
      {"KeyboardOut1", PortId{0, 0, Side::Source}},
      {"Midi2Out1", PortId{7, 0, Side::Source}},
      {"Midi2Out12", PortId{7, 11, Side::Source}},
      {"Midi2In3", PortId{7, 2, Side::Sink}},
      {"left", PortId{5, 0, Side::Source}},
      {"Midi2Out99", PortId{5, 1, Side::Source}},
      {"Midi2Out0", std::nullopt},
      {"Midi2Out01", std::nullopt},
      {"Midi2Out13", std::nullopt},
      {"Midi2In4", std::nullopt},
      {"KeyboardIn1", std::nullopt},
      {"KeyboardOut", std::nullopt},
      {"KeyboardOut65537", std::nullopt},
      {"KeyboardOut99999", std::nullopt},
      {"KeyboardOut4294967297", std::nullopt},
      {"KeyboardOut+1", std::nullopt},
      {"KeyboardOut1 ", std::nullopt},
      {"EmptyOut1", std::nullopt},
      {"1", std::nullopt},
      {"12345678", std::nullopt},
      {"", std::nullopt},
      {"keyboardout1", std::nullopt},
  };
  for (const auto& row : table) EXPECT_EQ(topology.port(row.name), row.port) << row.name;
}

TEST(Topology, NamesItsPorts) {
  const Topology topology = sample();
  EXPECT_EQ(topology.name({0, 0, Side::Source}), "KeyboardOut1");
  EXPECT_EQ(topology.name({7, 11, Side::Source}), "Midi2Out12");
  EXPECT_EQ(topology.name({7, 2, Side::Sink}), "Midi2In3");
  EXPECT_EQ(topology.name({5, 0, Side::Source}), "left");
}

TEST(Topology, NamesWhatDoesNotExistLikeNoPort) {
  const Topology topology = sample();
  const struct {
    PortId port;
    std::string_view name;
  } table[] = {
      {{0, 1, Side::Source}, "KeyboardOut2"},
      {{0, 0, Side::Sink}, "KeyboardIn1"},
      {{9, 0, Side::Source}, "Group9Out1"},
      {{300, 65535, Side::Sink}, "EmptyIn65536"},
      {{7, 98, Side::Source}, "Midi2Out99_2"},
      {{5, 2, Side::Source}, "RealOut3"},
      {{65535, 65535, Side::Sink}, "Group65535In65536"},
  };
  for (const auto& row : table) {
    EXPECT_FALSE(topology.exists(row.port));
    EXPECT_EQ(topology.name(row.port), row.name);
    EXPECT_EQ(topology.port(topology.name(row.port)), std::nullopt) << row.name;
  }
}

TEST(Topology, EmptyNameIsNoPortsName) {
  Group group = listed(5, "Real", {"left", "", "RealOut2", ""});
  group.sources->removeUnnamed();
  EXPECT_EQ(group.sources->gone, (std::vector<bool>{false, true, false, true}));
  const Topology topology({group});
  EXPECT_EQ(topology.place(""), std::nullopt);
  EXPECT_FALSE(topology.exists({5, 1, Side::Source}));
  EXPECT_TRUE(topology.knows({5, 1, Side::Source}));
  EXPECT_EQ(topology.name({5, 1, Side::Source}), "RealOut2_2");
  EXPECT_EQ(topology.name({5, 3, Side::Source}), "RealOut4");
  EXPECT_EQ(topology.port("RealOut2"), (PortId{5, 2, Side::Source}));
}

// What another process sends need not be as it should.
TEST(Topology, GroupsWithOneHandleAreSafe) {
  const Topology topology(
      {numberedGroup(5, "A", std::nullopt, 1), numberedGroup(5, "B", 9, std::nullopt), listed(5, "C", {"c", "c"})});
  EXPECT_EQ(topology.port("AIn1"), (PortId{5, 0, Side::Sink}));
  EXPECT_EQ(topology.port("BOut9"), std::nullopt);
  EXPECT_EQ(topology.place("BOut9"), (PortId{5, 8, Side::Source}));
  EXPECT_EQ(topology.port("c"), std::nullopt);
  EXPECT_EQ(topology.place("c"), (PortId{5, 0, Side::Source}));
  EXPECT_EQ(topology.name({5, 0, Side::Source}), "AOut1");
}

TEST(Topology, KnowsGroupsAndSides) {
  const Topology topology = sample();
  ASSERT_NE(topology.find(300), nullptr);
  EXPECT_EQ(topology.find(300)->name, "Empty");
  EXPECT_TRUE(topology.find(300)->sources.has_value());
  EXPECT_FALSE(topology.find(0)->sinks.has_value());
  EXPECT_EQ(topology.find(1), nullptr);
  EXPECT_EQ(topology.groups().size(), 4U);
  EXPECT_TRUE(topology.exists({7, 11, Side::Source}));
  EXPECT_FALSE(topology.exists({7, 12, Side::Source}));
  EXPECT_FALSE(topology.exists({300, 0, Side::Sink}));
}

TEST(Topology, AHundredFullGroupsCostNothingPerPort) {
  std::vector<Group> groups;
  for (std::uint16_t id = 0; id < 100; ++id) {
    groups.push_back(
        numberedGroup(id, std::string(MaxGroupNameBytes - 2, 'g') + std::to_string(10 + id % 90), 65535, 65535));
    if (id >= 90) groups.back() = numberedGroup(id, "h" + std::to_string(id), 65535, 65535);
  }
  const Topology topology(std::move(groups));
  for (std::uint16_t id = 0; id < 100; ++id) {
    for (const int number : {0, 8, 9, 10, 999, 9999, 65533, 65534}) {
      for (const Side side : {Side::Source, Side::Sink}) {
        const PortId port{id, static_cast<std::uint16_t>(number), side};
        const std::string name = topology.name(port);
        EXPECT_LE(name.size(), MaxNameBytes);
        EXPECT_EQ(topology.port(name), port) << name;
      }
    }
    EXPECT_FALSE(topology.exists({id, 65535, Side::Source}));
  }
}

}  // namespace
}  // namespace device
