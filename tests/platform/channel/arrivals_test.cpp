#include "platform/channel/arrivals.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace channel {
namespace {

using namespace std::chrono_literals;

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

TEST(Arrivals, ListedPortsAreNotReported) {
  Arrivals arrivals;
  EXPECT_FALSE(arrivals.isListed());
  arrivals.list({{group("A", {"a", "b"}, {"x"})}});
  EXPECT_TRUE(arrivals.isListed());
  EXPECT_EQ(lookAt(arrivals, {group("A", {"", "b"})}), "nothing") << "something has gone";
  EXPECT_EQ(lookAt(arrivals, {group("A", {"a", "b"}, {"x"})}), "nothing") << "and is back";
}

TEST(Arrivals, AddedGroupIsReportedOnceWithItsName) {
  Arrivals arrivals;
  arrivals.list({{group("A", {"a"})}});
  const auto come = std::vector{group("A", {"a"}), group("B", {"b"})};
  EXPECT_EQ(lookAt(arrivals, come), "group \"B\" was added; restart the console to list it");
  EXPECT_EQ(lookAt(arrivals, come), "nothing");
  EXPECT_EQ(lookAt(arrivals, {group("A", {"a"})}), "nothing");
  EXPECT_EQ(lookAt(arrivals, come), "group \"B\" was added; restart the console to list it") << "it had gone";
}

TEST(Arrivals, AddedPortsOfListedAndOfLaterGroupsAreReported) {
  Arrivals arrivals;
  arrivals.list({{group("A", {"a"})}});
  EXPECT_EQ(lookAt(arrivals, {group("A", {"a"}, {"x"})}), "port \"x\" was added; restart the console to list it");
  EXPECT_EQ(lookAt(arrivals, {group("A", {"a"}, {"x"}), group("B", {"b"})}),
            "group \"B\" was added; restart the console to list it");
  EXPECT_EQ(lookAt(arrivals, {group("A", {"a", "y"}, {"x"}), group("B", {"b", "c"})}),
            "2 ports (\"y\", \"c\") were added; restart the console to list them");
}

TEST(Arrivals, ManyAreReportedAsACountWithTheFirstNames) {
  Arrivals arrivals;
  arrivals.list({});
  std::vector<wire::TopologyGroup> groups{group("A", {"a"}), group("B", {"b"}), group("C", {"c"}), group("D", {"d"})};
  EXPECT_EQ(lookAt(arrivals, groups),
            "4 groups (\"A\", \"B\", \"C\", ...) were added; restart the console to list them");
  groups[0] = group("A", {"a", "e"});
  groups.push_back(group("E", {"f"}));
  EXPECT_EQ(lookAt(arrivals, groups), "group \"E\" and port \"e\" were added; restart the console to list them");
}

TEST(Arrivals, AddedNumberedPortsAreReportedAsACount) {
  Arrivals arrivals;
  arrivals.list({{{0, {}, "A", wire::TopologySide{3, "AOut", {}}, std::nullopt}}});
  EXPECT_EQ(lookAt(arrivals, {{0, {}, "A", wire::TopologySide{3, "AOut", {}}, std::nullopt}}), "nothing");
  EXPECT_EQ(lookAt(arrivals, {{0, {}, "A", wire::TopologySide{3, "AOut", {}}, wire::TopologySide{2, "AIn", {}}}}),
            "2 ports (\"AIn1\", ...) were added; restart the console to list them");
}

wire::TopologyGroup numbered(std::uint16_t sources, const std::string& prefix = "AOut") {
  return {0, {}, "A", wire::TopologySide{sources, prefix, {}}, std::nullopt};
}

// Another device may count what this one names.
TEST(Arrivals, NumberedPortsEqualPortsWithTheSameNames) {
  const struct {
    wire::TopologyGroup listed;
    wire::TopologyGroup there;
    const char* said;
  } cases[] = {
      {numbered(3), numbered(2), "nothing"},
      {numbered(2), numbered(3), "port \"AOut3\" was added; restart the console to list it"},
      {numbered(2), numbered(65535), "65533 ports (\"AOut3\", ...) were added; restart the console to list them"},
      {numbered(3), group("A", {"AOut1", "AOut2", "AOut3"}), "nothing"},
      {numbered(3), group("A", {"AOut3", "", "AOut4"}), "port \"AOut4\" was added; restart the console to list it"},
      {numbered(3), group("A", {"AOut", "AOut0", "AOut01"}),
       "3 ports (\"AOut\", \"AOut0\", \"AOut01\") were added; restart the console to list them"},
      {group("A", {"AOut1", "AOut2"}), numbered(2), "nothing"},
      {group("A", {"AOut1", "AOut3"}), numbered(3), "port \"AOut2\" was added; restart the console to list it"},
      {numbered(110), numbered(10, "AOut1"), "nothing"},
      {numbered(109), numbered(10, "AOut1"), "port \"AOut110\" was added; restart the console to list it"},
      {numbered(110), group("A", {"AOut100", "AOut110", "AOut111"}),
       "port \"AOut111\" was added; restart the console to list it"},
      {numbered(65535), group("A", {"AOut65535", "AOut165535"}),
       "port \"AOut165535\" was added; restart the console to list it"},
      {numbered(1, ""), group("A", {"1", "11"}), "port \"11\" was added; restart the console to list it"},
      {group("A", {}, {"AOut1"}), numbered(1), "port \"AOut1\" was added; restart the console to list it"},
  };
  for (const auto& each : cases) {
    Arrivals arrivals;
    arrivals.list({{each.listed}});
    EXPECT_EQ(lookAt(arrivals, {each.there}), each.said);
    EXPECT_EQ(lookAt(arrivals, {each.there}), "nothing") << each.said;
  }
}

TEST(Arrivals, NumberedPortsAddedAgainAreReportedAgain) {
  Arrivals arrivals;
  arrivals.list({{numbered(2)}});
  EXPECT_EQ(lookAt(arrivals, {numbered(4)}), "2 ports (\"AOut3\", ...) were added; restart the console to list them");
  EXPECT_EQ(lookAt(arrivals, {numbered(3)}), "nothing");
  EXPECT_EQ(lookAt(arrivals, {numbered(4)}), "port \"AOut4\" was added; restart the console to list it");
  EXPECT_EQ(lookAt(arrivals, {group("A", {"AOut4", "AOut5"})}),
            "port \"AOut5\" was added; restart the console to list it");
  arrivals.list({{numbered(7)}});
  EXPECT_EQ(lookAt(arrivals, {numbered(8)}), "port \"AOut8\" was added; restart the console to list it");
}

TEST(ArrivalTimer, GathersForAMoment) {
  ArrivalTimer timer;
  EXPECT_FALSE(timer.isDue(100s));
  timer.news(100s);
  EXPECT_FALSE(timer.isDue(100s + 199ms));
  timer.news(100s + 199ms);
  EXPECT_TRUE(timer.isDue(100s + 200ms)) << "counted from the first news";
}

TEST(ArrivalTimer, AsksOnceASecond) {
  ArrivalTimer timer;
  timer.news(100s);
  timer.asked(true, 101s);
  EXPECT_FALSE(timer.isDue(200s)) << "there was nothing new since";
  timer.news(101s);
  EXPECT_FALSE(timer.isDue(102s - 1ms));
  EXPECT_TRUE(timer.isDue(102s));
}

TEST(ArrivalTimer, AsksAgainAfterASecondWithoutAnAnswer) {
  ArrivalTimer timer;
  timer.news(100s);
  timer.asked(false, 101s);
  EXPECT_FALSE(timer.isDue(102s - 1ms));
  EXPECT_TRUE(timer.isDue(102s));
}

TEST(ArrivalTimer, ForgetsNewsThatNobodyWants) {
  ArrivalTimer timer;
  timer.news(100s);
  timer.drop();
  EXPECT_FALSE(timer.isDue(200s));
}

}  // namespace
}  // namespace channel
