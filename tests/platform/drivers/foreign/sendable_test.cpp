#include "platform/drivers/foreign/sendable.h"

#include <gtest/gtest.h>

#include "platform/drivers/foreign/burst_log.h"

namespace drivers {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(Sendable, AppendsTheBytesWithTheirChannel) {
  const Bytes note{0x90, 0x40, 0x7F};
  Bytes bytes{0xF8};
  EXPECT_EQ(appendSendable({3, note}, bytes), std::nullopt);
  EXPECT_EQ(bytes, (Bytes{0xF8, 0x93, 0x40, 0x7F}));
}

TEST(Sendable, SaysWhyAMessageCannotBeSentAndAppendsNothing) {
  const Bytes note{0x90, 0x40, 0x7F};
  const Bytes half{0x90, 0x40};
  Bytes bytes;
  EXPECT_EQ(appendSendable({16, note}, bytes), unsent::NoSuchChannel);
  EXPECT_EQ(appendSendable({0, half}, bytes), unsent::NotOneMessage);
  EXPECT_EQ(bytes, Bytes{});
}

}  // namespace
}  // namespace drivers
