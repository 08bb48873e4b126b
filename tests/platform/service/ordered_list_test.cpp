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

TEST(OrderedList, IsVisitedInPiecesBetweenChanges) {
  OrderedList<Entry> list;
  for (int order = 0; order < 10; ++order) list.append({static_cast<std::uint64_t>(order), order});
  list.remove(3);
  std::vector<int> seen;
  std::uint64_t from = 0;
  const auto some = [&](std::size_t left) {
    const bool all = list.forSome(from, left, [&](const Entry& entry) { seen.push_back(entry.value); });
    EXPECT_TRUE(all || left == 0);
    return all;
  };
  EXPECT_FALSE(some(0));
  EXPECT_FALSE(some(1));
  EXPECT_FALSE(some(4));
  EXPECT_EQ(seen, (std::vector{0, 1, 2, 4}));
  list.remove(5);
  list.remove(4);
  list.append({10, 10});
  EXPECT_TRUE(some(100));
  EXPECT_EQ(seen, (std::vector{0, 1, 2, 4, 6, 7, 8, 9, 10}));
}

TEST(OrderedList, GivesMemoryBackFromBothEnds) {
  constexpr std::uint64_t Many = 100'000;
  for (const bool fromTheFront : {true, false}) {
    OrderedList<Entry> list;
    for (std::uint64_t order = 0; order < Many; ++order) list.append({order, 0});
    for (std::uint64_t i = 0; i < Many - 10; ++i) ASSERT_TRUE(list.remove(fromTheFront ? i : Many - 1 - i));
    EXPECT_EQ(list.size(), 10U);
    EXPECT_LE(list.capacity(), 100U) << fromTheFront;
  }
}

}  // namespace
}  // namespace service
