#include "tests/support/case_arguments.h"

#include <gtest/gtest.h>

#include <csignal>

#include "tests/support/escapes.h"

namespace testsupport {
namespace {

TEST(CaseArguments, ReadsSizes) {
  EXPECT_EQ(windowSize("80x24"), (WindowSize{24, 80}));
  for (const char* text : {"", "80", "80x", "x24", "0x24", "80x-1", "80x24x", "80 x 24", "8000x24"}) {
    EXPECT_EQ(windowSize(text), std::nullopt) << text;
  }
}

TEST(CaseArguments, ReadsHowAProgramEnds) {
  EXPECT_EQ(exitStatus("0"), ExitStatus::exited(0));
  EXPECT_EQ(exitStatus("signal TERM"), ExitStatus::signalled(SIGTERM));
  for (const char* text : {"", "-1", "signal", "signal NONE", "0 "}) {
    EXPECT_EQ(exitStatus(text), std::nullopt) << text;
  }
}

TEST(CaseArguments, ReadsPlacesAndStyles) {
  const auto words = placedWords("2 7 bold red");
  ASSERT_TRUE(words.has_value());
  EXPECT_EQ(words->place, (Place{2, 7}));
  const auto style = cellStyle(words->rest);
  ASSERT_TRUE(style.has_value());
  EXPECT_TRUE(style->bold);
  EXPECT_EQ(style->colour, 1);
  EXPECT_EQ(placedWords("0 7"), std::nullopt);
  EXPECT_EQ(placedWords("2"), std::nullopt);
  EXPECT_EQ(cellStyle({"loud"}), std::nullopt);
  EXPECT_EQ(cellStyle({}), std::nullopt);
}

TEST(CaseArguments, ReadsBlocks) {
  EXPECT_EQ(blockText({"a", "", "b"}), "a\n\nb\n");
  EXPECT_EQ(blockText({R"(\e[39m\c)"}), "\x1b[39m");
  EXPECT_EQ(blockText({R"(\q)"}), std::nullopt);
  EXPECT_EQ(blockBytes({R"(a\r\n)", "b"}), "a\r\nb");
  EXPECT_EQ(hexBytes({"4D 54 6864  # MThd", "# nothing", "00ff"}), std::string("MThd\0\xff", 6));
  EXPECT_EQ(hexBytes({"4"}), std::nullopt);
  EXPECT_EQ(hexBytes({"4 D"}), std::nullopt);
}

TEST(Escapes, AreReversible) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) {
    all += static_cast<char>(static_cast<unsigned char>(byte));
  }
  EXPECT_EQ(unescape(escape(all)), all);
  EXPECT_EQ(escape("a\x1b[0K\r\n\\\x01"), R"(a\e[0K\r\n\\\x01)");
  for (const char* text : {"\\", "\\x", "\\x1", "\\xg1", "\\q"}) {
    EXPECT_EQ(unescape(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace testsupport
