#include "platform/channel/group_ids.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace channel {
namespace {

using Ids = std::map<std::string, std::uint16_t>;

device::Group group(std::uint64_t handle, const std::string& name, std::optional<std::uint16_t> wanted = {}) {
  return {handle, name, std::nullopt, std::nullopt, {}, wanted};
}

Ids idsOf(const std::vector<device::Group>& groups) {
  Ids ids;
  for (const device::Group& group : groups) ids.emplace(group.name, *group.wantedId);
  return ids;
}

// Ids and the names that are published for them.
struct Table {
  GroupIds ids{[this](std::uint16_t id, const std::string& name) {
    names[id] = name;
    if (name.empty()) names.erase(id);
  }};
  std::map<std::uint16_t, std::string> names;
};

// However many have come and gone before: handles say nothing about ids.
TEST(GroupIds, AreCountedFromZeroInOrder) {
  const auto numbered = withGroupIds({group(5'000'000'007, "z"), group(5'000'000'001, "a"), group(12, "m")});
  EXPECT_EQ(idsOf(numbered), (Ids{{"z", 0}, {"a", 1}, {"m", 2}}));
}

TEST(GroupIds, GroupThatAsksForAnIdGetsThatId) {
  const auto numbered = withGroupIds(
      {group(1, "x"), group(2, "file", 1), group(3, "y"), group(4, "last", 41), group(5, "z"), group(6, "far", 65535)});
  EXPECT_EQ(idsOf(numbered), (Ids{{"x", 0}, {"file", 1}, {"y", 2}, {"last", 41}, {"z", 3}, {"far", 65535}}));
}

TEST(GroupIds, GroupThatAsksForATakenIdGetsAFreeOne) {
  const auto numbered = withGroupIds({group(1, "one", 0), group(2, "two", 0), group(3, "three", 1)});
  EXPECT_EQ(idsOf(numbered), (Ids{{"one", 0}, {"three", 1}, {"two", 2}}));
}

TEST(GroupIds, IdKeepsItsNameAsLongAsItIsHeld) {
  Table table;
  HeldGroupIds first(table.ids);
  std::vector early{group(1, "a"), group(2, "b"), group(3, "c")};
  first.enter(early);
  {
    HeldGroupIds second(table.ids);
    std::vector late{group(9, "new"), group(3, "c"), group(10, "asks", 1)};
    second.enter(late);
    EXPECT_EQ(idsOf(late), (Ids{{"c", 2}, {"new", 3}, {"asks", 4}}));
    EXPECT_EQ(table.names.at(1), "b");
    EXPECT_EQ(table.names.at(4), "asks");
  }
  EXPECT_EQ(table.names, (std::map<std::uint16_t, std::string>{{0, "a"}, {1, "b"}, {2, "c"}}));
  EXPECT_EQ(first.enter(group(11, "later")), 3U);
  EXPECT_EQ(first.enter(group(12, "a")), 0U) << "it has come back under another handle";
  EXPECT_EQ(table.names.at(3), "later");
}

TEST(GroupIds, AreFreeWhenNobodyHoldsThem) {
  Table table;
  for (int turn = 0; turn < 3; ++turn) {
    HeldGroupIds held(table.ids);
    std::vector groups{group(1, "n" + std::to_string(turn), 7), group(2, "m" + std::to_string(turn))};
    held.enter(groups);
    EXPECT_EQ(table.names,
              (std::map<std::uint16_t, std::string>{{7, "n" + std::to_string(turn)}, {0, "m" + std::to_string(turn)}}));
  }
  EXPECT_TRUE(table.names.empty());
}

// One list was made before the group asked for an id, another one after it.
TEST(GroupIds, NameWithTwoIdsKeepsTheOneThatIsStillHeld) {
  Table table;
  HeldGroupIds later(table.ids);
  {
    HeldGroupIds earlier(table.ids);
    EXPECT_EQ(earlier.enter(group(1, "a")), 0U);
    EXPECT_EQ(later.enter(group(2, "a", 5)), 5U);
    EXPECT_EQ(later.enter(group(3, "a")), 0U) << "the first one";
  }
  HeldGroupIds third(table.ids);
  EXPECT_EQ(third.enter(group(4, "a")), 0U);
  {
    HeldGroupIds fourth(table.ids);
    EXPECT_EQ(fourth.enter(group(5, "b", 7)), 7U);
    EXPECT_EQ(third.enter(group(6, "b", 9)), 9U);
  }
  EXPECT_EQ(third.enter(group(7, "b")), 9U);
  EXPECT_EQ(table.names, (std::map<std::uint16_t, std::string>{{0, "a"}, {5, "a"}, {9, "b"}}));
}

TEST(GroupIds, GroupsBeyondTheLastIdAreLeftOut) {
  std::vector<device::Group> many;
  for (std::uint64_t handle = 0; handle < 65'540; ++handle) many.push_back(group(handle, std::to_string(handle)));
  many.back().wantedId = 0;
  const auto numbered = withGroupIds(std::move(many));
  ASSERT_EQ(numbered.size(), 65'536U);
  EXPECT_EQ(numbered.front().wantedId, 1U);
  EXPECT_EQ(numbered.back().wantedId, 0U);
}

}  // namespace
}  // namespace channel
