#include "tests/support/screen.h"

#include <gtest/gtest.h>

namespace testsupport {
namespace {

using Rows = std::vector<std::string>;

TEST(ScreenTest, ShowsRowsWithoutTheBlanksAtTheirEnds) {
  Screen screen({3, 10});
  screen.feed("one  \r\n two");
  EXPECT_EQ(screen.rows(), (Rows{"one", " two", ""}));
  EXPECT_EQ(screen.cursor(), (Place{2, 5}));
  EXPECT_EQ(screen.fullRow(2), " two      ");
  EXPECT_EQ(screen.textBeforeCursor(), " two");
}

TEST(ScreenTest, ObeysColumnsAndErasing) {
  Screen screen({2, 20});
  screen.feed("abcdef\x1b[3G-\x1b[0K");
  EXPECT_EQ(screen.rows(), (Rows{"ab-", ""}));
  screen.feed("\x1b[2K\x1b[0Gx");
  EXPECT_EQ(screen.rows(), (Rows{"x", ""}));
}

TEST(ScreenTest, TakesSequencesInPieces) {
  Screen screen({1, 20});
  for (const char byte : std::string("ab\x1b[1Gx")) {
    screen.feed(std::string_view(&byte, 1));
  }
  EXPECT_EQ(screen.rows(), (Rows{"xb"}));
}

TEST(ScreenTest, KeepsWhatScrollsAway) {
  Screen screen({2, 10});
  screen.feed("1\r\n2\r\n3\r\n4");
  EXPECT_EQ(screen.scrolledRows(), (Rows{"1", "2"}));
  EXPECT_EQ(screen.rows(), (Rows{"3", "4"}));
}

TEST(ScreenTest, ShowsStyles) {
  Screen screen({1, 20});
  screen.feed("a\x1b[1mb\x1b[22m\x1b[7m\x1b[5mc\x1b[27m\x1b[25m\x1b[4md\x1b[24m\x1b[31me\x1b[34mf\x1b[39mg");
  Cell plain;
  plain.text = "a";
  EXPECT_EQ(screen.cell({1, 1}), plain);
  EXPECT_TRUE(screen.cell({1, 2}).bold);
  EXPECT_FALSE(screen.cell({1, 2}).reverse);
  EXPECT_TRUE(screen.cell({1, 3}).reverse);
  EXPECT_TRUE(screen.cell({1, 3}).blink);
  EXPECT_FALSE(screen.cell({1, 3}).bold);
  EXPECT_TRUE(screen.cell({1, 4}).underline);
  EXPECT_EQ(screen.cell({1, 5}).colour, 1);
  EXPECT_EQ(screen.cell({1, 6}).colour, 4);
  EXPECT_EQ(screen.cell({1, 7}).colour, Cell::DefaultColour);
}

TEST(ScreenTest, ShowsCharactersBeyondAscii) {
  Screen screen({1, 10});
  screen.feed("\xc3\xa9\xe2\x82\xac!");
  EXPECT_EQ(screen.rows(), (Rows{"\xc3\xa9\xe2\x82\xac!"}));
}

TEST(ScreenTest, Resizes) {
  Screen screen({2, 10});
  screen.feed("1\r\n2");
  screen.resize({3, 5});
  EXPECT_EQ(screen.rows(), (Rows{"1", "2", ""}));
  EXPECT_EQ(screen.size(), (WindowSize{3, 5}));
}

}  // namespace
}  // namespace testsupport
