#include "platform/streamctl/frame_batch.h"

#include <gtest/gtest.h>

namespace streamctl {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(FrameBatch, KeepsOrderGroupAndBytes) {
  FrameBatch batch;
  EXPECT_TRUE(batch.empty());
  const Bytes first{1, 2};
  const Bytes second{3};
  batch.add({7, first});
  batch.add({8, second});
  EXPECT_EQ(batch.bytes(), 15U);
  const auto items = batch.take();
  ASSERT_EQ(items.size(), 2U);
  EXPECT_EQ(items[0].group, 7);
  EXPECT_EQ(items[0].bytes, first);
  EXPECT_EQ(items[1].group, 8);
  EXPECT_EQ(items[1].bytes, second);
  EXPECT_TRUE(batch.empty());
  EXPECT_EQ(batch.bytes(), 0U);
}

TEST(FrameBatch, IsFullAfterSoManyMessages) {
  FrameBatch batch;
  const Bytes byte{0xF8};
  for (std::size_t i = 0; i < 512; ++i) {
    ASSERT_TRUE(batch.hasRoomFor({0, byte})) << i;
    batch.add({0, byte});
  }
  EXPECT_FALSE(batch.hasRoomFor({0, byte}));
  batch.take();
  EXPECT_TRUE(batch.hasRoomFor({0, byte}));
}

TEST(FrameBatch, IsFullAfterSoManyBytes) {
  FrameBatch batch;
  const Bytes half(32U * 1024 - 6);
  batch.add({0, half});
  EXPECT_TRUE(batch.hasRoomFor({0, half}));
  const Bytes larger(half.size() + 1);
  EXPECT_FALSE(batch.hasRoomFor({0, larger}));
  batch.add({0, half});
  EXPECT_FALSE(batch.hasRoomFor({0, Bytes{1}}));
}

TEST(FrameBatch, LargeMessageTravelsAlone) {
  FrameBatch batch;
  const Bytes large(device::MaxMessageBytes);
  EXPECT_TRUE(batch.hasRoomFor({0, large}));
  batch.add({0, large});
  EXPECT_FALSE(batch.hasRoomFor({0, Bytes{1}}));
}

}  // namespace
}  // namespace streamctl
