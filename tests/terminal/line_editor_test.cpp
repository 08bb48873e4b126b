#include "terminal/line_editor.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "terminal/key_codes.h"
#include "tests/support/memory_stream.h"
#include "tests/terminal/fakes.h"
#include "tests/terminal/typist.h"

namespace flowscope {
namespace {

using test::MemoryStream;
using test::RecordingHost;
using test::ScriptedKeys;
using test::Typed;
using test::Typist;
using Lines = std::vector<std::string>;

TEST(LineEditor, StartsTheLineAtColumnEightAfterAPromptOfThreeCharacters) {
  RecordingHost host;
  MemoryStream stream;
  ScriptedKeys keys;
  LineEditor editor(host, keys, stream.stream(), false);
  editor.drawPrompt("p /");
  EXPECT_EQ(editor.promptColumn(), 8);
  EXPECT_EQ(stream.take(), "\x1b[0G[p /]$ \x1b[8G\x1b[0K\x1b[8G");
}

TEST(LineEditor, ReplacesTheLineIfThePromptIsDrawnWithOne) {
  Typist typist;
  typist.type("old");
  typist.stream.take();
  typist.editor.drawPrompt("label dir", "new");
  EXPECT_EQ(typist.stream.take(), "\x1b[0G[label dir]$ \x1b[14Gnew\x1b[0K\x1b[17G");
  EXPECT_EQ(typist.line(), "new|");
  typist.editor.drawPrompt("p /", "");
  EXPECT_EQ(typist.line(), "|");
}

TEST(LineEditor, EditsTheLineByKeys) {
  const std::vector<Typed> rows{
      {"letters", "ab", "ab|"},
      {"insert inside", "ab<left>c", "ac|b"},
      {"kill to the start", "ab<left>c<c-w>", "|b"},
      {"kill to the start takes all words", "one two three<c-w>", "|"},
      {"kill to the end", "abcd<left><left><c-k>", "ab|"},
      {"kill at the end", "ab<c-k>", "ab|"},
      {"home", "ab<home>c", "c|ab"},
      {"ctrl-a", "ab<c-a>c", "c|ab"},
      {"end", "ab<home><end>c", "abc|"},
      {"ctrl-e", "ab<c-a><c-e>c", "abc|"},
      {"ctrl-b and ctrl-f", "abc<c-b><c-b><c-f>x", "abx|c"},
      {"left at the start", "a<left><left><left>x", "x|a"},
      {"right at the end", "a<right><right>x", "ax|"},
      {"right", "ab<home><right>x", "ax|b"},
      {"delete", "abc<home><del>", "|bc"},
      {"ctrl-d", "abc<left><c-d>", "ab|"},
      {"delete at the end", "ab<del>", "ab|"},
      {"delete in an empty line", "<del><c-d>", "|"},
      {"backspace at the end", "abc<bs>", "ab|"},
      {"backspace inside", "abc<left><bs>", "a|c"},
      {"ctrl-h", "abc<c-h>", "ab|"},
      {"backspace at the start", "ab<home><bs>", "|ab"},
      {"backspace in an empty line", "<bs><c-h>", "|"},
      {"other controls are characters", "a<c-l><c-u><c-r><x0d>b",
       "a\x0c\x15\x12\x0d"
       "b|"},
      {"bytes above 127 are characters", "<xc3><xa4>", "\xc3\xa4|"},
      {"byte 255 is a character", "<xff>", "\xff|"},
      {"a zero byte is not", "a<x00>b", "ab|"},
      {"a percent sign", "%s%n", "%s%n|"},
  };
  for (const Typed& row : rows) {
    Typist typist;
    typist.type(row.keys);
    EXPECT_EQ(typist.line(), row.line) << row.name;
    EXPECT_TRUE(typist.host.lines.empty()) << row.name;
  }
}

TEST(LineEditor, IgnoresUnknownKeyCodes) {
  Typist typist;
  typist.type("abc");
  typist.stream.take();
  for (const int code : {KeyInsert, 0, -1, -2, 256, 257, 400, 0x6161}) typist.editor.handleKey(code);
  EXPECT_EQ(typist.stream.take(), "");
  EXPECT_EQ(typist.line(), "abc|");
  typist.editor.handleKey(KeyBackspace);
  EXPECT_EQ(typist.line(), "ab|");
  typist.editor.handleKey(KeyEnter);
  EXPECT_EQ(typist.host.lines, (Lines{"ab"}));
}

struct Drawing {
  std::string_view name;
  std::string_view before;  // keys typed before
  std::string_view keys;
  std::string drawn;
};

TEST(LineEditor, DrawsTheExactBytesForEachKey) {
  const std::vector<Drawing> drawings{
      {"insert at the end", "a", "b", "\x1b[8Gab\x1b[0K\x1b[10G"},
      {"insert inside", "ab<left>", "c", "\x1b[8Gacb\x1b[0K\x1b[10G"},
      {"left", "ab", "<left>", "\x1b[9G"},
      {"left at the start", "", "<left><c-b>", ""},
      {"right", "ab<home>", "<right>", "\x1b[9G"},
      {"right at the end", "ab", "<right><c-f>", ""},
      {"home", "ab", "<home>", "\x1b[0G[p /]$ \x1b[8Gab\x1b[0K\x1b[10G\x1b[8Gab\x1b[0K\x1b[8G"},
      {"end", "ab<home>", "<end>", "\x1b[10G"},
      {"delete", "ab<home>", "<del>", "\x1b[8Gb\x1b[0K\x1b[8G"},
      {"delete at the end", "ab", "<del><c-d>", ""},
      {"delete in an empty line", "", "<del><c-d>", ""},
      {"backspace", "abc<left>", "<bs>", "\x1b[2K\x1b[0G[p /]$ \x1b[8Gac\x1b[0K\x1b[10G\x1b[8Gac\x1b[0K\x1b[9G"},
      {"backspace at the end", "ab", "<bs>", "\x1b[2K\x1b[0G[p /]$ \x1b[8Ga\x1b[0K\x1b[9G\x1b[8Ga\x1b[0K\x1b[9G"},
      {"backspace at the start", "ab<home>", "<bs><c-h>", ""},
      {"backspace in an empty line", "", "<bs><c-h>", ""},
      {"kill to the start", "abc<left>", "<c-w>", "\x1b[8Gc\x1b[0K\x1b[8G"},
      {"kill to the end", "abc<left>", "<c-k>", "\x1b[8Gab\x1b[0K\x1b[10G"},
      {"enter on an empty line", "", "<c-j>", "\n\x1b[0G[p /]$ \x1b[8G\x1b[0K\x1b[8G"},
      {"enter", "ls", "<c-j>", "\n\x1b[8G\x1b[0K\x1b[8G\x1b[0G[p /]$ \x1b[8G\x1b[0K\x1b[8G"},
      {"tab", "ls", "<tab>", "\n"},
      {"up", "ls<c-j>", "<up>", "\x1b[8Gls\x1b[0K\x1b[10G"},
      {"up on an empty history", "ab<left>", "<up>", "\x1b[8Gab\x1b[0K\x1b[10G"},
      {"down with nothing newer", "ab<left>", "<down>", "\x1b[8Gab\x1b[0K\x1b[10G"},
      {"a control character", "", "<c-l>", "\x1b[8G\x0c\x1b[0K\x1b[9G"},
  };
  for (const Drawing& drawing : drawings) {
    Typist typist;
    typist.type(drawing.before);
    EXPECT_EQ(typist.drawn(drawing.keys), drawing.drawn) << drawing.name;
  }
}

TEST(LineEditor, DrawsThePromptAndKeepsTheCursorWhenResumed) {
  Typist typist;
  typist.type("abc<left><left>");
  typist.stream.take();
  typist.editor.inputResumed();
  EXPECT_EQ(typist.stream.take(), "\x1b[0G[p /]$ \x1b[8Gabc\x1b[0K\x1b[11G\x1b[9G");
  EXPECT_EQ(typist.line(), "a|bc");
}

TEST(LineEditor, FlushesAfterEachKey) {
  char* bytes = nullptr;
  std::size_t size = 0;
  std::FILE* stream = open_memstream(&bytes, &size);
  std::vector<std::size_t> published;
  {
    RecordingHost host;
    ScriptedKeys keys;
    LineEditor editor(host, keys, stream, false);
    for (const int key : {int{'a'}, KeyLeft, KeyHome, KeyLineFeed}) {
      editor.handleKey(key);
      published.push_back(size);
    }
  }
  std::fclose(stream);
  // A memory stream publishes its size when it is flushed.
  for (std::size_t i = 0; i < published.size(); ++i) EXPECT_GT(published[i], i == 0 ? 0 : published[i - 1]) << i;
  EXPECT_EQ(published.back(), size);
  std::free(bytes);
}

TEST(LineEditor, IfQuietDrawsNothingAndReadsNothing) {
  Typist typist(true);
  typist.editor.openGate();
  EXPECT_EQ(typist.drawn("ab<left><home><bs><del><up><tab><c-k><c-w>ls<c-j>"), "");
  typist.editor.inputResumed();
  EXPECT_EQ(typist.stream.take(), "");
  EXPECT_EQ(typist.editor.cursor(), 0U);
  EXPECT_EQ(typist.editor.promptColumn(), 0);
  typist.editor.waitForInput();
  EXPECT_EQ(typist.keys.reads, 0);
}

TEST(LineEditor, SharesItsRunningFlagWithTheProcess) {
  Typist typist;
  EXPECT_TRUE(typist.editor.running());
  EXPECT_TRUE(inputRunning);
  typist.editor.setRunning(false);
  EXPECT_FALSE(typist.editor.running());
  EXPECT_FALSE(inputRunning);
}

}  // namespace
}  // namespace flowscope
