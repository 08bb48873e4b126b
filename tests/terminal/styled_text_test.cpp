#include "terminal/styled_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace flowscope {
namespace {

struct Row {
  std::uint32_t attributes;
  std::uint32_t colour;
  std::string on;
  std::string off;
};

TEST(StyledText, SequencesOfAttributesAndColours) {
  const std::vector<Row> rows{
      {AttrNone, ColourDefault, "\x1b[39m", ""},
      {AttrReverse, ColourDefault, "\x1b[7m\x1b[39m", "\x1b[27m"},
      {AttrBold, ColourDefault, "\x1b[1m\x1b[39m", "\x1b[22m"},
      {AttrBlink, ColourDefault, "\x1b[5m\x1b[39m", "\x1b[25m"},
      {AttrUnderline, ColourDefault, "\x1b[4m\x1b[39m", "\x1b[24m"},
      {AttrNone, ColourWhite, "\x1b[37m", "\x1b[39m"},
      {AttrNone, ColourRed, "\x1b[31m", "\x1b[39m"},
      {AttrNone, ColourGreen, "\x1b[32m", "\x1b[39m"},
      {AttrNone, ColourBlue, "\x1b[34m", "\x1b[39m"},
      {AttrNone, 5, "", "\x1b[39m"},
      {AttrNone, 7, "", "\x1b[39m"},
      {AttrNone, 0xffffffff, "", "\x1b[39m"},
      {0x01, ColourRed, "\x1b[31m", "\x1b[39m"},
      {0xffffffe1, ColourRed, "\x1b[31m", "\x1b[39m"},
      {0x1e, ColourBlue, "\x1b[7m\x1b[1m\x1b[5m\x1b[4m\x1b[34m", "\x1b[27m\x1b[22m\x1b[25m\x1b[24m\x1b[39m"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(styleOn(row.attributes, row.colour), row.on) << row.attributes << ' ' << row.colour;
    EXPECT_EQ(styleOff(row.attributes, row.colour), row.off) << row.attributes << ' ' << row.colour;
  }
}

TEST(StyledText, NamesHaveTheirValues) {
  EXPECT_EQ(AttrUnderline, 0x02U);
  EXPECT_EQ(AttrReverse, 0x04U);
  EXPECT_EQ(AttrBold, 0x08U);
  EXPECT_EQ(AttrBlink, 0x10U);
}

}  // namespace
}  // namespace flowscope
