#include "core/command_table.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/arguments.h"

namespace flowscope {
namespace {

TEST(CommandTable, HoldsTheVocabularyInOrder) {
  struct Row {
    const char* name;
    std::uint32_t maximum;
    Options options;
  };
  const Row rows[] = {
      {"exit", 0, 0},    {"tab", 2, 0},   {"pwd", 0, 0},       {"ls", 1, 0xf},    {"cd", 1, 0},      {"set", 2, 0xc},
      {"setport", 3, 0}, {"str", 2, 0},   {"get", 1, 0},       {"eu", 1, 0x7},    {"du", 1, 0x1},    {"from", 2, 0},
      {"to", 2, 0},      {"cat", 1, 0x4}, {"con", 2, 0},       {"dis", 2, 0},     {"load", 1, 0},    {"save", 1, 0},
      {"rn", 2, 0},      {"rm", 1, 0},    {"mkdir", 1, 0},     {"cmdfrom", 1, 0}, {"convert", 2, 0}, {"quit", 0, 0},
      {"q", 0, 0},       {"end", 0, 0},   {"terminate", 0, 0}, {"bt", 0, 0xf},    {"history", 1, 0}, {"help", 0, 0},
      {"", 2, 0},
  };
  ASSERT_EQ(std::size(rows), CommandTable.size());
  for (std::size_t index = 0; index < CommandTable.size(); ++index) {
    EXPECT_EQ(CommandTable[index].name, rows[index].name) << index;
    EXPECT_EQ(CommandTable[index].maximumArguments, rows[index].maximum) << rows[index].name;
    EXPECT_EQ(CommandTable[index].allowedOptions, rows[index].options) << rows[index].name;
  }
}

TEST(CommandTable, FindsANameWithOneTrailingBlankAndNothingElse) {
  for (std::size_t index = 0; index < CommandTable.size(); ++index) {
    const std::string name(CommandTable[index].name);
    EXPECT_EQ(findCommand(name + " "), index) << name;
    EXPECT_EQ(findCommand(name + "  "), NoCommand) << name;
    EXPECT_EQ(findCommand(" " + name + " "), NoCommand) << name;
  }
  for (const char* text : {"", "ls", "l ", "lsx ", "LS ", "\t"}) EXPECT_EQ(findCommand(text), NoCommand) << text;
}

TEST(CommandTable, FindsWholeNamesOnly) {
  EXPECT_EQ(commandNamed("cat"), &CommandTable[13]);
  EXPECT_EQ(commandNamed("q"), &CommandTable[24]);
  EXPECT_EQ(commandNamed("qu"), nullptr);
  EXPECT_EQ(commandNamed("cat "), nullptr);
  EXPECT_EQ(commandNamed(""), nullptr);
}

TEST(Arguments, OptionWordsAreTakenOutAndChecked) {
  struct Row {
    ArgumentWords words;
    std::uint32_t maximum;
    Options allowed;
    ResultCode answer;
    Options options;
    ArgumentWords left;
  };
  const Row rows[] = {
      {{}, 0, 0, ResultOk, 0, {}},
      {{"a"}, 1, 0, ResultOk, 0, {"a"}},
      {{"a", "b"}, 1, 0, ResultOptionError, 0, {"a", "b"}},
      {{"-l"}, 0, OptionL, ResultOk, OptionL, {}},
      {{"-lr", "a"}, 1, AllOptions, ResultOk, 0x5, {"a"}},
      {{"-l", "a", "-r"}, 1, AllOptions, ResultOk, 0x5, {"a"}},
      {{"a", "-rmlc"}, 1, AllOptions, ResultOk, 0xf, {"a"}},
      {{"-"}, 0, 0, ResultOk, 0, {}},
      {{"-xyz"}, 0, 0, ResultOk, 0, {}},
      {{"-r"}, 2, OptionL | OptionC, ResultOptionError, OptionR, {}},
      {{"--l"}, 0, OptionL, ResultOk, OptionL, {}},
      {{"a-l"}, 1, 0, ResultOk, 0, {"a-l"}},
  };
  for (const auto& row : rows) {
    auto words = row.words;
    Options options = 0xffff;
    EXPECT_EQ(checkArguments(words, options, row.maximum, row.allowed), row.answer);
    EXPECT_EQ(options, row.options);
    EXPECT_EQ(words, row.left);
  }
}

TEST(Arguments, NextTakesInOrderAndLeavesTheTextAtTheEnd) {
  ArgumentWords words{"a", "b"};
  std::string text = "before";
  EXPECT_TRUE(nextArgument(words, text));
  EXPECT_EQ(text, "a");
  EXPECT_TRUE(nextArgument(words, text));
  EXPECT_EQ(text, "b");
  EXPECT_FALSE(nextArgument(words, text));
  EXPECT_EQ(text, "b");
}

}  // namespace
}  // namespace flowscope
