#include "platform/channel/peer_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

namespace channel {
namespace {

using Ports = std::vector<ServicePort>;

Ports all(PeerList& list) {
  const auto ports = list.all();
  return {ports.begin(), ports.end()};
}

// Short and long lists, lost from the front, from the back and anywhere, looked at often and seldom.
TEST(PeerList, HoldsTheSamePortsAsAPlainList) {
  std::mt19937 random(6);
  for (const std::size_t most : {3U, 63U, 65U, 600U}) {
    for (const unsigned looks : {1U, 50U, 5000U}) {
      PeerList list;
      Ports plain;
      for (unsigned turn = 0; turn < 10'000; ++turn) {
        const ServicePort port{static_cast<std::uint16_t>(random() % 3), static_cast<std::uint16_t>(random() % most)};
        const bool stands = std::ranges::find(plain, port) != plain.end();
        // Grows for a while, then shrinks.
        if (!stands && (turn / 2000) % 2 == 0) {
          list.add(port);
          plain.push_back(port);
        } else if (turn % 5 == 0 && !plain.empty()) {
          const ServicePort end = turn % 2 == 0 ? plain.front() : plain.back();
          list.remove(end);
          std::erase(plain, end);
        } else {
          list.remove(port);
          std::erase(plain, port);
        }
        ASSERT_EQ(list.empty(), plain.empty());
        if (turn % looks != 0) continue;
        ASSERT_EQ(all(list), plain) << most << " ports, turn " << turn;
      }
      ASSERT_EQ(all(list), plain);
    }
  }
}

TEST(PeerList, IsEmptyWhenAllPortsAreRemoved) {
  PeerList list;
  for (std::uint16_t index = 0; index < 1000; ++index) list.add({1, index});
  for (std::uint16_t index = 0; index < 1000; ++index) {
    EXPECT_FALSE(list.empty());
    list.remove({1, index});
  }
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(all(list), Ports{});
  list.add({2, 3});
  EXPECT_EQ(all(list), (Ports{{2, 3}}));
}

}  // namespace
}  // namespace channel
