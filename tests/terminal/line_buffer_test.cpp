#include "terminal/line_buffer.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace flowscope {
namespace {

// "ab|c" is the text abc with the cursor before the c.
LineBuffer lineOf(std::string_view drawn) {
  const std::size_t cursor = drawn.find('|');
  LineBuffer line;
  line.assign(std::string(drawn.substr(0, cursor)) + std::string(drawn.substr(cursor + 1)));
  line.setCursor(cursor);
  return line;
}

std::string drawn(const LineBuffer& line) {
  std::string text = line.text();
  return text.insert(line.cursor(), "|");
}

struct Row {
  std::string_view name;
  std::string_view before;
  std::function<void(LineBuffer&)> edit;
  std::string_view after;
};

TEST(LineBuffer, AppliesEachEdit) {
  const std::vector<Row> rows{
      {"stay", "a|b", [](auto& line) { line.move(CursorMove::Stay); }, "a|b"},
      {"start", "a|b", [](auto& line) { line.move(CursorMove::LineStart); }, "|ab"},
      {"end", "a|b", [](auto& line) { line.move(CursorMove::LineEnd); }, "ab|"},
      {"right", "a|bc", [](auto& line) { line.move(CursorMove::Right); }, "ab|c"},
      {"right at the end", "ab|", [](auto& line) { line.move(CursorMove::Right); }, "ab|"},
      {"left", "ab|c", [](auto& line) { line.move(CursorMove::Left); }, "a|bc"},
      {"left at the start", "|ab", [](auto& line) { line.move(CursorMove::Left); }, "|ab"},
      {"cursor beyond", "|ab", [](auto& line) { line.setCursor(9); }, "ab|"},
      {"insert at the end", "ab|", [](auto& line) { line.insert('c'); }, "ab|c"},
      {"insert inside", "a|b", [](auto& line) { line.insert('c'); }, "a|cb"},
      {"insert into nothing", "|", [](auto& line) { line.insert('c'); }, "|c"},
      {"erase at", "a|bc", [](auto& line) { line.eraseAtCursor(); }, "a|c"},
      {"erase at the end", "ab|", [](auto& line) { line.eraseAtCursor(); }, "ab|"},
      {"erase before", "ab|cd", [](auto& line) { line.eraseBeforeCursor(); }, "ac|d"},
      {"erase before the end", "ab|", [](auto& line) { line.eraseBeforeCursor(); }, "a|"},
      {"erase before the start", "|ab", [](auto& line) { line.eraseBeforeCursor(); }, "|ab"},
      {"erase to end", "a|bc", [](auto& line) { line.eraseToEnd(); }, "a|"},
      {"erase to start", "ab|c", [](auto& line) { line.eraseToStart(); }, "c|"},
      {"erase everything to start", "abc|", [](auto& line) { line.eraseToStart(); }, "|"},
      {"assign shorter", "abc|d", [](auto& line) { line.assign("x"); }, "x|"},
      {"assign longer", "a|", [](auto& line) { line.assign("xyz"); }, "x|yz"},
  };
  for (const Row& row : rows) {
    LineBuffer line = lineOf(row.before);
    row.edit(line);
    EXPECT_EQ(drawn(line), row.after) << row.name;
  }
}

TEST(LineBuffer, ReplacesTheLastWord) {
  struct Word {
    std::string_view before;
    std::string_view word;
    bool replaced;
    std::string_view after;
  };
  const std::vector<Word> words{{"", "x", false, ""},
                                {"cat", "x", false, "cat"},
                                {"cat ", "x", true, "cat x"},
                                {"cat ab", "xyz", true, "cat xyz"},
                                {"cd Midi/So", "Source", true, "cd Midi/Source"},
                                {"/a b", "x", true, "/a x"},
                                {"a b/", "x", true, "a b/x"},
                                {"a /", "", true, "a /"},
                                {"/", "..", true, "/.."},
                                {"con a/b c", "", true, "con a/b "}};
  for (const Word& word : words) {
    LineBuffer line;
    line.assign(word.before);
    EXPECT_EQ(line.replaceLastWord(word.word), word.replaced) << word.before;
    EXPECT_EQ(line.text(), word.after) << word.before;
  }
}

}  // namespace
}  // namespace flowscope
