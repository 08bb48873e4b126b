#include "tests/support/case_script.h"

#include <gtest/gtest.h>

namespace testsupport {
namespace {

std::vector<Step> steps(std::string_view text) {
  const auto parsed = parseCaseScript(text);
  const auto* result = std::get_if<std::vector<Step>>(&parsed);
  return result == nullptr ? std::vector<Step>() : *result;
}

TEST(CaseScript, CutsALineIntoItsWordAndTheRest) {
  const auto result = steps("# a remark\n\ntype cd  Midi \nstart\n");
  ASSERT_EQ(result.size(), 2U);
  EXPECT_EQ(result[0].line, 3U);
  EXPECT_EQ(result[0].word, "type");
  EXPECT_EQ(result[0].argument, "cd  Midi ");
  EXPECT_FALSE(result[0].block.has_value());
  EXPECT_EQ(result[1].word, "start");
  EXPECT_EQ(result[1].argument, "");
}

TEST(CaseScript, KeepsEmptyLinesInsideABlockAndDropsThoseBehindIt) {
  const auto result = steps("screen\n\n  a\n\n    b\n\nexit 0\n");
  ASSERT_EQ(result.size(), 2U);
  EXPECT_EQ(result[0].block, (std::vector<std::string>{"", "a", "", "  b"}));
  EXPECT_FALSE(result[1].block.has_value());
}

TEST(CaseScript, KeepsARemarkSignInsideABlock) {
  const auto result = steps("file x\n  # kept\n");
  ASSERT_EQ(result.size(), 1U);
  EXPECT_EQ(result[0].block, (std::vector<std::string>{"# kept"}));
}

TEST(CaseScript, NamesTheLineThatHasNoPlace) {
  const auto stray = parseCaseScript("# remark\n  stray\n");
  ASSERT_TRUE(std::holds_alternative<CaseProblem>(stray));
  EXPECT_EQ(std::get<CaseProblem>(stray).line, 2U);
  const auto narrow = parseCaseScript("screen\n a\n");
  ASSERT_TRUE(std::holds_alternative<CaseProblem>(narrow));
  EXPECT_EQ(std::get<CaseProblem>(narrow).line, 2U);
}

TEST(SplitWords, HonoursQuotes) {
  EXPECT_EQ(splitWords(""), std::vector<std::string>());
  EXPECT_EQ(splitWords("  a  b "), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(splitWords(R"(-c "pwd;cd a" "" x)"), (std::vector<std::string>{"-c", "pwd;cd a", "", "x"}));
  EXPECT_EQ(splitWords(R"("say \"a b\" \\")"), (std::vector<std::string>{R"(say "a b" \)"}));
  EXPECT_EQ(splitWords("\"open"), std::nullopt);
}

}  // namespace
}  // namespace testsupport
