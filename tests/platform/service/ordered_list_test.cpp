#include "platform/service/ordered_list.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace service {
namespace {

struct Entry {
  std::uint64_t order = 0;
  int value = 0;
};

std::vector<int> valuesOf(const OrderedList<Entry>& list) {
  std::vector<int> values;
  list.forEach([&](const Entry& entry) { values.push_back(entry.value); });
  return values;
}

TEST(OrderedList, KeepsTheOrderWhateverIsRemoved) {
  std::mt19937 random(3);
  std::map<std::uint64_t, int> expected;
  OrderedList<Entry> list;
  for (std::uint64_t order = 0; order < 3000; ++order) {
    list.append({order, static_cast<int>(order)});
    expected.emplace(order, static_cast<int>(order));
    for (int i = 0; i < 2 && order > 1500; ++i) {
      const std::uint64_t removed = random() % order;
      ASSERT_EQ(list.find(removed) != nullptr, expected.contains(removed));
      ASSERT_EQ(list.remove(removed), expected.erase(removed) == 1);
    }
    ASSERT_EQ(list.size(), expected.size());
    ASSERT_EQ(list.back().order, expected.rbegin()->first);
    if (order % 100 != 0) continue;
    std::vector<int> values;
    for (const auto& [at, value] : expected) values.push_back(value);
    ASSERT_EQ(valuesOf(list), values);
  }
  while (!list.empty()) EXPECT_TRUE(list.remove(list.back().order));
  EXPECT_EQ(valuesOf(list), std::vector<int>());
}

TEST(OrderedList, EntersOthersWhereTheyBelong) {
  OrderedList<Entry> list;
  for (const int order : {2, 4, 6, 8}) list.append({static_cast<std::uint64_t>(order), order});
  list.remove(4);
  list.merge({{1, 1}, {5, 5}, {9, 9}});
  EXPECT_EQ(valuesOf(list), (std::vector{1, 2, 5, 6, 8, 9}));
  EXPECT_EQ(list.find(5)->value, 5);
  EXPECT_EQ(list.find(4), nullptr);
  EXPECT_TRUE(list.remove(9));
  EXPECT_EQ(list.back().value, 8);
}

}  // namespace
}  // namespace service
