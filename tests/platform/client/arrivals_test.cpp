#include "platform/client/arrivals.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace client {
namespace {

using Names = std::vector<std::string>;

wire::TopologyGroup group(const std::string& name, const Names& sources, const Names& sinks = {}) {
  const auto side = [](const Names& names) -> std::optional<wire::TopologySide> {
    if (names.empty()) return std::nullopt;
    return wire::TopologySide{static_cast<std::uint16_t>(names.size()), "", names};
  };
  return {0, {}, name, side(sources), side(sinks)};
}

std::string lookAt(Arrivals& arrivals, const std::vector<wire::TopologyGroup>& groups) {
  return arrivals.look({groups}).value_or("nothing");
}

TEST(Arrivals, WhatIsListedHasNotCome) {
  Arrivals arrivals;
  EXPECT_FALSE(arrivals.isListed());
  arrivals.list({{group("A", {"a", "b"}, {"x"})}});
  EXPECT_TRUE(arrivals.isListed());
  EXPECT_EQ(lookAt(arrivals, {group("A", {"", "b"})}), "nothing") << "something has gone";
  EXPECT_EQ(lookAt(arrivals, {group("A", {"a", "b"}, {"x"})}), "nothing") << "and is back";
}

TEST(Arrivals, GroupIsToldOfOnceWithItsName) {
  Arrivals arrivals;
  arrivals.list({{group("A", {"a"})}});
  const auto come = std::vector{group("A", {"a"}), group("B", {"b"})};
  EXPECT_EQ(lookAt(arrivals, come), "group \"B\" has come: a new console shows it");
  EXPECT_EQ(lookAt(arrivals, come), "nothing");
  EXPECT_EQ(lookAt(arrivals, {group("A", {"a"})}), "nothing");
  EXPECT_EQ(lookAt(arrivals, come), "group \"B\" has come: a new console shows it") << "it had gone";
}

TEST(Arrivals, PortsOfListedAndOfLaterGroupsAreToldOf) {
  Arrivals arrivals;
  arrivals.list({{group("A", {"a"})}});
  EXPECT_EQ(lookAt(arrivals, {group("A", {"a"}, {"x"})}), "port \"x\" has come: a new console shows it");
  EXPECT_EQ(lookAt(arrivals, {group("A", {"a"}, {"x"}), group("B", {"b"})}),
            "group \"B\" has come: a new console shows it");
  EXPECT_EQ(lookAt(arrivals, {group("A", {"a", "y"}, {"x"}), group("B", {"b", "c"})}),
            "2 ports (\"y\", \"c\") have come: a new console shows them");
}

TEST(Arrivals, ManyAreCountedAndTheFirstAreNamed) {
  Arrivals arrivals;
  arrivals.list({});
  std::vector<wire::TopologyGroup> groups{group("A", {"a"}), group("B", {"b"}), group("C", {"c"}), group("D", {"d"})};
  EXPECT_EQ(lookAt(arrivals, groups), "4 groups (\"A\", \"B\", \"C\", ...) have come: a new console shows them");
  groups[0] = group("A", {"a", "e"});
  groups.push_back(group("E", {"f"}));
  EXPECT_EQ(lookAt(arrivals, groups), "group \"E\" and port \"e\" have come: a new console shows them");
}

TEST(Arrivals, NumberedPortsAreCounted) {
  Arrivals arrivals;
  arrivals.list({{{0, {}, "A", wire::TopologySide{3, "AOut", {}}, std::nullopt}}});
  EXPECT_EQ(lookAt(arrivals, {{0, {}, "A", wire::TopologySide{3, "AOut", {}}, std::nullopt}}), "nothing");
  EXPECT_EQ(lookAt(arrivals, {{0, {}, "A", wire::TopologySide{3, "AOut", {}}, wire::TopologySide{2, "AIn", {}}}}),
            "2 ports (\"AIn1\", ...) have come: a new console shows them");
}

}  // namespace
}  // namespace client
