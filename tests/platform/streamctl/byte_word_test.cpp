#include "platform/streamctl/byte_word.h"

#include <gtest/gtest.h>

#include <string>

namespace streamctl {
namespace {

TEST(ParseByte, TakesDecimalAndHexadecimal) {
  const std::pair<const char*, std::uint8_t> rows[] = {{"0", 0},      {"7", 7},      {"255", 255},
                                                       {"010", 10},   {"0x0", 0},    {"0x90", 0x90},
                                                       {"0xfF", 255}, {"0X7f", 127}, {"0x007F", 127}};
  for (const auto& [word, byte] : rows) EXPECT_EQ(parseByte(word), byte) << word;
}

TEST(ParseByte, RefusesWordsThatAreNoByte) {
  for (const char* word : {"", " ", "256", "1000", "0x", "0x100", "-1", "+1", "1 ", " 1", "1.0", "9x", "0x-1", "0x0x1",
                           "F0", "0b1", "99999999999999999999"}) {
    EXPECT_FALSE(parseByte(word)) << '"' << word << '"';
  }
}

TEST(ParseNumber, TakesTheWholeWordOrNothing) {
  EXPECT_EQ(parseNumber<std::uint16_t>("65535"), 65535);
  EXPECT_FALSE(parseNumber<std::uint16_t>("65536"));
  EXPECT_EQ(parseNumber<double>("0.5"), 0.5);
  EXPECT_EQ(parseNumber<double>("1e3"), 1000);
  for (const char* word : {"", "1x", "0x10", " 1", "1 ", "1,5"}) EXPECT_FALSE(parseNumber<double>(word)) << word;
}

}  // namespace
}  // namespace streamctl
