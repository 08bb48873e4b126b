#include "traffic/text_piece.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <string>

namespace flowscope {
namespace {

TEST(TextPiece, WritesNumbersAsTheFormattersDo) {
  TextPiece piece;
  for (int value = 0; value <= 0xFFFF; ++value) {
    char upper[16];
    char lower[16];
    std::snprintf(upper, sizeof upper, "0x%02X", static_cast<unsigned>(value));
    std::snprintf(lower, sizeof lower, "0x%02x", static_cast<unsigned>(value));
    ASSERT_EQ(piece.clear().appendHex(static_cast<std::uint16_t>(value)).view(), upper);
    ASSERT_EQ(piece.clear().appendLowerHex(static_cast<std::uint16_t>(value)).view(), lower);
  }
  EXPECT_EQ(piece.clear().appendDecimal(0).view(), "0");
  EXPECT_EQ(piece.clear().appendDecimal(1024).view(), "1024");
  const auto largest = std::numeric_limits<std::size_t>::max();
  EXPECT_EQ(piece.clear().appendDecimal(largest).view(), std::to_string(largest));
}

TEST(TextPiece, StartsEmpty) { EXPECT_EQ(TextPiece().view(), ""); }

TEST(TextPiece, CutsWhatDoesNotFit) {
  TextPiece piece;
  EXPECT_EQ(piece.append(std::string(1023, 'a')).view(), std::string(1023, 'a'));
  EXPECT_EQ(piece.append("b").appendHex(7).appendDecimal(7).view(), std::string(1023, 'a'));
  EXPECT_EQ(piece.clear().append(std::string(5000, 'a')).view(), std::string(1023, 'a'));
  EXPECT_EQ(piece.clear().append(std::string(1020, 'a')).appendHex(0x12).view(), std::string(1020, 'a') + "0x1");
}

TEST(TextPiece, KeepsTheNewline) {
  TextPiece piece;
  EXPECT_EQ(piece.append("a").endLine().view(), "a\n");
  EXPECT_EQ(piece.clear().append(std::string(1022, 'a')).endLine().view(), std::string(1022, 'a') + "\n");
  EXPECT_EQ(piece.clear().append(std::string(1023, 'a')).endLine().view(), std::string(1022, 'a') + "\n");
}

}  // namespace
}  // namespace flowscope
