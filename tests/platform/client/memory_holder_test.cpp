#include <gtest/gtest.h>

#include <vector>

#include "evtsrv.h"

namespace EvtSrv {
namespace {

TEST(MemoryHolder, OwnBufferIsZeroedAndReadBehindTheHeader) {
  MemoryHolder holder(24);
  EXPECT_EQ(holder.size(), 24U);
  EXPECT_EQ(std::vector<std::uint8_t>(holder.buffer(), holder.buffer() + 24), std::vector<std::uint8_t>(24));
  EXPECT_FALSE(holder.atEnd());
  EXPECT_EQ(holder.getCurrentOffset(4), holder.buffer() + 20);
  EXPECT_TRUE(holder.atEnd());
}

TEST(MemoryHolder, ViewShowsTheBytesThemselves) {
  std::vector<std::uint8_t> event(30);
  for (std::size_t i = 0; i < event.size(); ++i) event[i] = static_cast<std::uint8_t>(i);
  MemoryHolder holder(event);
  EXPECT_EQ(holder.buffer(), event.data());
  EXPECT_EQ(holder.getCurrentOffset(3), event.data() + 20);
  EXPECT_EQ(holder.getCurrentOffset(0), event.data() + 23);
  EXPECT_EQ(holder.getCurrentOffset(7), event.data() + 23);
  EXPECT_TRUE(holder.atEnd());
}

TEST(MemoryHolder, TruncatedReadEndsTheReading) {
  MemoryHolder holder(24);
  EXPECT_EQ(holder.getCurrentOffset(5), nullptr);
  EXPECT_TRUE(holder.atEnd());
  EXPECT_EQ(holder.getCurrentOffset(1), nullptr);
  EXPECT_EQ(holder.getCurrentOffset(static_cast<std::size_t>(-1)), nullptr);
}

TEST(MemoryHolder, SmallerThanHeaderIsAtItsEnd) {
  for (const std::size_t size : {0U, 1U, 19U, 20U}) {
    MemoryHolder holder(size);
    EXPECT_EQ(holder.size(), size);
    EXPECT_TRUE(holder.atEnd());
    EXPECT_EQ(holder.getCurrentOffset(1), nullptr);
  }
}

}  // namespace
}  // namespace EvtSrv
