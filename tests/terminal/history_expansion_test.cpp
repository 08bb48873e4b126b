#include "terminal/history_expansion.h"

#include <gtest/gtest.h>

#include <vector>

namespace flowscope {
namespace {

struct Row {
  const char* line;
  ExpandedLine expanded;
};

TEST(HistoryExpansion, ReplacesEachKindOfReference) {
  const std::vector<std::string> history{"ls", "cd a"};
  const Row rows[] = {
      {"cat !$", {"cat a", "cat a"}},
      {"!$x", {"$x", "!$x"}},
      {"cat !$/!$ b", {"cat a/a b", "cat a/a b"}},
      {"pwd", {"pwd", "pwd"}},
      {"a!b", {"a!b", "a!b"}},
      {"!!", {"cd a", "cd a"}},
      {"!!x", {"!x", "!!x"}},
      {"!", {"", "!"}},
      {"!0", {"ls", "ls"}},
      {"!1", {"cd a", "cd a"}},
      {"!1xyz", {"cd a", "cd a"}},
      {"!2", {"2", "!2"}},
      {"!99999999999999999999999", {"99999999999999999999999", "!99999999999999999999999"}},
      {"!-1", {"cd a", "cd a"}},
      {"!-2", {"ls", "ls"}},
      {"!-2rest", {"ls", "ls"}},
      {"!-0", {"!-0", "!-0"}},
      {"!-3", {"!-3", "!-3"}},
      {"!-99999999999999999999999", {"!-99999999999999999999999", "!-99999999999999999999999"}},
      {"!-", {"", "!-"}},
      {"!-x", {"x", "!-x"}},
      {"!--1", {"-1", "!--1"}},
      {"!c", {"cd a", "cd a"}},
      {"!cd a", {"cd a", "cd a"}},
      {"!cd ab", {"cd ab", "!cd ab"}},
      {"!x", {"x", "!x"}},
      {"!c !$", {"c !$", "!c !$"}},
  };
  for (const auto& row : rows) EXPECT_EQ(expandHistory(row.line, history), row.expanded) << row.line;
}

TEST(HistoryExpansion, OfAPrefixIsTheLatestEntry) {
  const std::vector<std::string> history{"cd a", "cat b", "cd c", "pwd"};
  EXPECT_EQ(expandHistory("!c", history).executed, "cd c");
  EXPECT_EQ(expandHistory("!ca", history).executed, "cat b");
}

TEST(HistoryExpansion, WithAnEmptyHistoryLeavesTheLineUnchanged) {
  for (const char* line : {"!!", "cat !$", "!-1", "!-0"}) {
    EXPECT_EQ(expandHistory(line, {}), (ExpandedLine{line, line})) << line;
  }
  EXPECT_EQ(expandHistory("!0", {}), (ExpandedLine{"0", "!0"}));
  EXPECT_EQ(expandHistory("!x", {}), (ExpandedLine{"x", "!x"}));
}

TEST(HistoryExpansion, IsNotExpandedAgain) {
  const std::vector<std::string> history{"cat x!$y"};
  EXPECT_EQ(expandHistory("pwd !$ !$", history).executed, "pwd x!$y x!$y");
}

TEST(HistoryExpansion, OfAnEntryWithoutWordsIsEmpty) {
  const std::vector<std::string> history{"   "};
  EXPECT_EQ(expandHistory("cd !$x", history).executed, "cd x");
}

}  // namespace
}  // namespace flowscope
