#include "platform/midi/smf_bytes.h"

#include <gtest/gtest.h>

#include "tests/platform/drivers/smf_maker.h"

namespace service {
namespace {

TEST(SmfBytes, VariableNumbersBothWays) {
  const struct {
    std::uint32_t value;
    std::string_view bytes;
  } table[] = {
      {0, "00"},
      {0x40, "40"},
      {0x7F, "7F"},
      {0x80, "81 00"},
      {0x2000, "C0 00"},
      {0x3FFF, "FF 7F"},
      {0x4000, "81 80 00"},
      {0x1FFFFF, "FF FF 7F"},
      {0x200000, "81 80 80 00"},
      {0x0FFFFFFF, "FF FF FF 7F"},
  };
  for (const auto& row : table) {
    ByteVector written;
    appendVariable(written, row.value);
    EXPECT_EQ(toHex(written), row.bytes);
    SmfReader reader(written);
    EXPECT_EQ(reader.variable(), row.value);
    EXPECT_TRUE(reader.atEnd());
  }
}

TEST(SmfBytes, WhatIsNotWholeIsNothingAndNotTaken) {
  for (const std::string_view bytes : {"", "80", "FF FF FF", "FF FF FF FF 7F"}) {
    const ByteVector input = fromHex(bytes);
    SmfReader reader(input, 100);
    EXPECT_EQ(reader.variable(), std::nullopt) << bytes;
    EXPECT_EQ(reader.offset(), 100U);
  }
  const ByteVector input = fromHex("01 02 03");
  SmfReader reader(input);
  EXPECT_EQ(reader.number(4), std::nullopt);
  EXPECT_FALSE(reader.take(4));
  EXPECT_EQ(reader.number(3), 0x010203U);
  EXPECT_EQ(reader.left(), 0U);
}

TEST(SmfBytes, NumbersAreMostSignificantFirst) {
  ByteVector written;
  appendNumber(written, 0x01020304, 4);
  appendNumber(written, 0xABCD, 2);
  EXPECT_EQ(toHex(written), "01 02 03 04 AB CD");
}

}  // namespace
}  // namespace service
