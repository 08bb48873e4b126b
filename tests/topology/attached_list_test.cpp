#include "topology/attached_list.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace flowscope {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(AttachedList, KeepsTheOrderOfAdding) {
  AttachedList list;
  for (const char* name : {"c", "a", "b", "a", "c"}) list.add(name);
  EXPECT_THAT(list, ElementsAre("c", "a", "b"));
  EXPECT_EQ(list.front(), "c");
  list.remove("a");
  EXPECT_THAT(list, ElementsAre("c", "b"));
  list.remove("a");
  list.add("a");
  EXPECT_THAT(list, ElementsAre("c", "b", "a"));
  EXPECT_EQ(list.size(), 3U);
  EXPECT_TRUE(list == (std::vector<std::string>{"c", "b", "a"}));
  EXPECT_FALSE(list == (std::vector<std::string>{"c", "b"}));
  list.clear();
  EXPECT_THAT(list, IsEmpty());
  EXPECT_FALSE(list.contains("c"));
}

TEST(AttachedList, HasAnotherVersionAfterEachChange) {
  AttachedList list;
  auto before = list.version();
  const auto changed = [&] { return std::exchange(before, list.version()) != list.version(); };
  list.clear();
  EXPECT_FALSE(changed());
  list.add("a");
  EXPECT_TRUE(changed());
  list.add("a");
  list.remove("b");
  EXPECT_FALSE(changed());
  list.remove("a");
  EXPECT_TRUE(changed());
  list.add("a");
  changed();
  list.clear();
  EXPECT_TRUE(changed());
}

TEST(AttachedList, HoldsManyNames) {
  AttachedList list;
  std::vector<std::string> names;
  for (int number = 0; number < 5000; ++number) names.push_back("a port with a long name " + std::to_string(number));
  for (const auto& name : names) list.add(std::string(name));
  EXPECT_TRUE(list == names);
  for (int number = 0; number < 5000; number += 2) list.remove(names[static_cast<std::size_t>(number)]);
  EXPECT_EQ(list.size(), 2500U);
  EXPECT_EQ(*std::next(list.begin(), 1000), names[2001]);
  EXPECT_FALSE(list.contains(names[4]));
  EXPECT_TRUE(list.contains(names[5]));
}

}  // namespace
}  // namespace flowscope
