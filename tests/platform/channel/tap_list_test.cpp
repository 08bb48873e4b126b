#include "platform/channel/tap_list.h"

#include <gtest/gtest.h>

namespace channel {
namespace {

using Names = std::vector<std::string>;

Names names(TapList& list) {
  Names found;
  for (const auto* tap : list.inOrder()) found.push_back(std::to_string(tap->first.first) + tap->first.second);
  return found;
}

TEST(TapList, KeepsTheOrderOfTapping) {
  TapList list;
  list.add(2, "b", 1);
  list.add(1, "c", 1);
  list.add(2, "a", 1);
  list.add(1, "b", 1);
  list.add(2, "b", 7);
  EXPECT_EQ(names(list), (Names{"2b", "1c", "2a", "1b"}));
  EXPECT_EQ(list.inOrder().front()->second.holderBytes, 1U) << "the first stays as it is";
  list.remove(2, "b");
  list.remove(2, "zz");
  EXPECT_FALSE(list.contains(2, "b"));
  EXPECT_TRUE(list.contains(1, "b"));
  list.add(2, "b", 7);
  EXPECT_EQ(names(list), (Names{"1c", "2a", "1b", "2b"}));
  EXPECT_EQ(list.size(), 4U);
}

TEST(TapList, LosesAllTapsOfOnePort) {
  TapList list;
  for (const std::uint32_t port : {3U, 1U, 2U}) {
    list.add(port, "", 1);
    list.add(port, "z", 1);
  }
  list.removeAll(2);
  EXPECT_EQ(names(list), (Names{"3", "3z", "1", "1z"}));
  list.removeAll(9);
  list.removeAll(3);
  list.removeAll(1);
  EXPECT_EQ(list.size(), 0U);
}

TEST(TapList, ATapThatIsMadeAgainIsNotMissing) {
  TapList list;
  list.add(1, "a", 1);
  list.inOrder().front()->second.isMissing = true;
  list.add(1, "a", 1);
  EXPECT_FALSE(list.inOrder().front()->second.isMissing);
}

}  // namespace
}  // namespace channel
