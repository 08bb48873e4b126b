#include "core/tokenizer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace flowscope {
namespace {

using Texts = std::vector<std::string>;

Texts wordsOf(std::string_view text) {
  const auto words = splitWords(text);
  return {words.begin(), words.end()};
}

TEST(Tokenizer, SplitsWordsAtBlanksOutsideQuotes) {
  struct Row {
    const char* text;
    Texts words;
  };
  const Row rows[] = {
      {"", {}},
      {"   ", {}},
      {"pwd", {"pwd"}},
      {"  cd  a ", {"cd", "a"}},
      {"cat -l *", {"cat", "-l", "*"}},
      {"cd \"a b\"", {"cd", "a b"}},
      {"cd \"a b\" c", {"cd", "a b", "c"}},
      {"\"a b\"c", {"a b", "c"}},
      {"cd \"\"", {"cd", ""}},
      {"cd \"a b", {"cd", "\"a", "b"}},
      {"cd a\"b c\"", {"cd", "a\"b", "c\""}},
      {"\"", {"\""}},
      {"a\tb", {"a\tb"}},
      {"\" a \"", {" a "}},
      {"x \" ", {"x", "\""}},
  };
  for (const auto& row : rows) EXPECT_EQ(wordsOf(row.text), row.words) << row.text;
}

TEST(Tokenizer, PiecesBetweenSemicolonsKeepTheirBlanks) {
  struct Row {
    const char* text;
    Texts pieces;
  };
  const Row rows[] = {
      {"", {""}}, {";", {"", ""}}, {"a", {"a"}}, {" a ; b ", {" a ", " b "}}, {"a;;b;", {"a", "", "b", ""}},
  };
  for (const auto& row : rows) EXPECT_EQ(splitAtSemicolons(row.text), row.pieces) << row.text;
}

TEST(Tokenizer, SplitsLinesAtSemicolons) {
  struct Row {
    const char* text;
    Texts pieces;
  };
  const Row rows[] = {
      {"", {}},
      {"   ", {}},
      {";", {""}},
      {"; ;", {"", ""}},
      {"a", {"a"}},
      {"  a b  ", {"a b"}},
      {"a; b", {"a", "b"}},
      {"a ;b;", {"a ", "b"}},
      {"a;   ", {"a"}},
      {"a;;b", {"a", "", "b"}},
  };
  for (const auto& row : rows) EXPECT_EQ(splitLine(row.text), row.pieces) << row.text;
}

TEST(Tokenizer, OpeningQuoteOfAScriptLineIsDropped) {
  struct Row {
    const char* line;
    const char* stripped;
  };
  const Row rows[] = {
      {"pwd", "pwd"},  {"  pwd ", "pwd "}, {"  \"pwd", "pwd"}, {"\"pwd\"", "pwd\""}, {"\"a b\" c", "a b\" c"},
      {"\"\"pwd", ""}, {"\"\"", ""},       {"\"\"pwd\"", ""},  {"\"", ""},           {"a \"b\"", "a \"b\""},
  };
  for (const auto& row : rows) EXPECT_EQ(stripScriptQuote(row.line), row.stripped) << row.line;
}

TEST(Tokenizer, TakesOnlyTheSpaceAsABlank) {
  EXPECT_EQ(withoutLeadingBlanks("  \t a"), "\t a");
  EXPECT_EQ(withoutTrailingBlanks("a \t  "), "a \t");
  EXPECT_EQ(withoutLeadingBlanks("   "), "");
  EXPECT_EQ(withoutTrailingBlanks("   "), "");
}

}  // namespace
}  // namespace flowscope
