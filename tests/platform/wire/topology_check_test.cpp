#include "platform/wire/topology_check.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/device/size_limits.h"

namespace wire {
namespace {

using device::SideOfGroup;

const std::string Refused = "the service's list of ports is refused: ";

std::string refusal(std::vector<device::Group> groups) {
  return whyRefused(Topology{std::move(groups)}).value_or("believed");
}

device::Group named(std::uint64_t handle, const std::string& name) { return {handle, name, {}, {}}; }

// A group with one listed source.
device::Group withPort(const std::string& port) { return {1, "A", SideOfGroup{1, "", {port}}, {}}; }

TEST(TopologyCheck, BelievesWhatServicesSend) {
  EXPECT_EQ(refusal({}), "believed");
  EXPECT_EQ(refusal({device::numberedGroup(0, "Keyboard", 1, std::nullopt),
                     device::numberedGroup(1, "Panel", 0, 65535),
                     {7, std::string(55, 'n'), SideOfGroup{2, "", {"a.b:c,d(e)!?", std::string(63, 'p')}}, {}}}),
            "believed");
  EXPECT_EQ(refusal({device::numberedGroup(0, std::string(55, 'n'), 65535, 65535)}), "believed")
      << "63 bytes in the longest name";
}

TEST(TopologyCheck, BelievesRemovedPortsWithoutNames) {
  SideOfGroup side{3, "", {"", "b", ""}};
  side.removeUnnamed();
  EXPECT_EQ(refusal({{1, "A", side, {}}}), "believed");
}

TEST(TopologyCheck, RefusesNames) {
  const std::vector<std::string> bad{"",   "..", "\x1b[31m", "a b",  "a\n",      "a/b",         "a;b",
                                     "a*", "-a", "~a",       "\x7f", "\xc2\x9b", "n\xc3\xa4me", std::string("a\0b", 3)};
  for (const std::string& name : bad) {
    EXPECT_EQ(refusal({named(1, "A"), named(2, name)}), Refused + "group 2 has a name that no group may have") << name;
    // As it stands for a port that exists; a decoder takes a port without a name for a removed one.
    EXPECT_EQ(refusal({withPort(name)}), Refused + "group 1 has a port with a name that no port may have") << name;
  }
  EXPECT_EQ(refusal({named(1, std::string(56, 'n'))}), Refused + "group 1 has a name that no group may have");
}

TEST(TopologyCheck, RefusesPrefixes) {
  const std::string cause = Refused + "group 1 has a port with a name that no port may have";
  for (const std::string prefix : {"\x1b[2J", "a b", "-", "~"}) {
    EXPECT_EQ(refusal({{1, "A", {}, SideOfGroup{3, prefix, {}}}}), cause) << prefix;
  }
  EXPECT_EQ(refusal({{1, "A", SideOfGroup{1, std::string(63, 'p'), {}}, {}}}), cause) << "64 bytes";
  EXPECT_EQ(refusal({{1, "A", SideOfGroup{9, std::string(62, 'p'), {}}, {}}}), "believed");
  EXPECT_EQ(refusal({{1, "A", SideOfGroup{10, std::string(62, 'p'), {}}, {}}}), cause) << "the tenth has 64";
  EXPECT_EQ(refusal({{1, "A", SideOfGroup{0, "\x1b", {}}, {}}}), "believed") << "no port shows it";
}

TEST(TopologyCheck, RefusesHandlesOfOtherGroups) {
  EXPECT_EQ(refusal({named(1, "A"), named(2, "B"), named(1, "C")}),
            Refused + "group 3 has the handle of another group");
}

TEST(TopologyCheck, RefusesListsOfAnotherLength) {
  EXPECT_EQ(refusal({{1, "A", SideOfGroup{2, "", {"a"}}, {}}}),
            Refused + "group 1 has not as many port names as ports");
  EXPECT_EQ(refusal({{1, "A", {}, SideOfGroup{1, "", {"a", "b"}}}}),
            Refused + "group 1 has not as many port names as ports");
}

TEST(TopologyCheck, BoundsTheNumberOfGroups) {
  std::vector<device::Group> groups;
  for (std::size_t i = 0; i < device::MaxGroups; ++i) groups.push_back(named(i, "G"));
  EXPECT_EQ(refusal(groups), "believed");
  groups.push_back(named(device::MaxGroups, "G"));
  EXPECT_EQ(refusal(groups), Refused + "65537 groups, more than 65536");
}

TEST(TopologyCheck, BoundsTheNumberOfPorts) {
  std::vector<device::Group> groups;
  for (std::uint16_t i = 0; i < 32; ++i) groups.push_back(device::numberedGroup(i, "G", 32768, 32768));
  EXPECT_EQ(refusal(groups), "believed") << "exactly as many as may be";
  groups.push_back(device::numberedGroup(32, "G", std::nullopt, 1));
  EXPECT_EQ(refusal(groups), Refused + "more than 2097152 ports");
}

}  // namespace
}  // namespace wire
