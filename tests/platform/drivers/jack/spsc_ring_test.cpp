#include "platform/drivers/jack/spsc_ring.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <thread>

namespace drivers::jack {
namespace {

using testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;

Bytes taken(SpscRing& ring, std::size_t size) {
  Bytes bytes(size);
  ring.peek(0, bytes);
  ring.drop(size);
  return bytes;
}

TEST(SpscRing, TakesHeadAndBodyTogetherOrNotAtAll) {
  SpscRing ring(8);
  EXPECT_TRUE(ring.push(Bytes{1, 2}, Bytes{3, 4, 5}));
  EXPECT_FALSE(ring.push(Bytes{6, 7}, Bytes{8, 9}));
  EXPECT_TRUE(ring.push(Bytes{6}, Bytes{7, 8}));
  EXPECT_EQ(ring.size(), 8U);
  EXPECT_FALSE(ring.push(Bytes{9}, {}));
  EXPECT_THAT(taken(ring, 8), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
  EXPECT_EQ(ring.size(), 0U);
}

TEST(SpscRing, WrapsAroundAtItsEnd) {
  SpscRing ring(5);  // 8
  ring.push(Bytes{0, 0, 0, 0, 0, 0}, {});
  ring.drop(6);
  ASSERT_TRUE(ring.push(Bytes{1, 2, 3}, Bytes{4, 5, 6, 7, 8}));
  Bytes middle(3);
  ring.peek(1, middle);
  EXPECT_THAT(middle, ElementsAre(2, 3, 4));
  EXPECT_THAT(taken(ring, 8), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
}

TEST(SpscRing, CarriesEverythingInOrderBetweenThreads) {
  constexpr std::uint32_t Count = 200'000;
  SpscRing ring(1000);
  std::thread writer([&] {
    for (std::uint32_t number = 0; number < Count; ++number) {
      std::array<std::uint8_t, sizeof number> head{};
      std::memcpy(head.data(), &number, sizeof number);
      const Bytes body(number % 7, static_cast<std::uint8_t>(number));
      while (!ring.push(head, body)) std::this_thread::yield();
    }
  });
  std::uint32_t wrong = 0;
  for (std::uint32_t number = 0; number < Count; ++number) {
    while (ring.size() == 0) std::this_thread::yield();
    std::uint32_t got = 0;
    ring.peek(0, {reinterpret_cast<std::uint8_t*>(&got), sizeof got});
    Bytes body(number % 7);
    ring.peek(sizeof got, body);
    ring.drop(sizeof got + body.size());
    if (got != number || body != Bytes(number % 7, static_cast<std::uint8_t>(number))) ++wrong;
  }
  writer.join();
  EXPECT_EQ(wrong, 0U);
  EXPECT_EQ(ring.size(), 0U);
}

}  // namespace
}  // namespace drivers::jack
