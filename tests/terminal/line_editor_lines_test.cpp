// What a line editor does with lines: runs them, completes them, walks through those that were.
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "terminal/line_editor.h"
#include "tests/terminal/typist.h"

namespace flowscope {
namespace {

using test::Typed;
using test::Typist;
using Lines = std::vector<std::string>;

TEST(LineEditor, RunsRecordsAndClearsTheLineOnEnter) {
  Typist typist;
  typist.type("cd Midi<c-j> ls <left><c-j>");
  EXPECT_EQ(typist.host.lines, (Lines{"cd Midi", " ls "}));
  EXPECT_EQ(typist.editor.history().entries(), (Lines{"cd Midi", " ls "}));
  EXPECT_EQ(typist.line(), "|");
}

TEST(LineEditor, RecordsAndRunsNothingOnEnterInAnEmptyLine) {
  Typist typist;
  typist.type("<c-j><c-j>");
  EXPECT_TRUE(typist.host.lines.empty());
  EXPECT_TRUE(typist.editor.history().entries().empty());
}

TEST(LineEditor, RecordsAndRunsALineOfBlanks) {
  Typist typist;
  typist.type("  <c-j>");
  EXPECT_EQ(typist.host.lines, (Lines{"  "}));
  EXPECT_EQ(typist.editor.history().entries(), (Lines{"  "}));
}

TEST(LineEditor, DrawsNoPromptAndKeepsTheLineAfterQuit) {
  Typist typist;
  typist.host.answer = ResultQuit;
  EXPECT_EQ(typist.drawn("quit"),
            "\x1b[8Gq\x1b[0K\x1b[9G\x1b[8Gqu\x1b[0K\x1b[10G\x1b[8Gqui\x1b[0K\x1b[11G"
            "\x1b[8Gquit\x1b[0K\x1b[12G");
  EXPECT_EQ(typist.drawn("<c-j>"), "\n");
  EXPECT_EQ(typist.line(), "quit|");
  EXPECT_EQ(typist.editor.history().entries(), (Lines{"quit"}));
}

TEST(LineEditor, DrawsThePromptOfTheNewPathAfterACommand) {
  for (const ResultCode answer : {ResultOk, ResultSilent, ResultNotFound, ResultUnknownError}) {
    Typist typist;
    typist.host.answer = answer;
    typist.host.during = [&] { typist.host.prompt = "p Sequencer"; };
    typist.type("cd x");
    EXPECT_EQ(typist.drawn("<c-j>"), "\n\x1b[8G\x1b[0K\x1b[8G\x1b[0G[p Sequencer]$ \x1b[16G\x1b[0K\x1b[16G") << answer;
    EXPECT_EQ(typist.editor.promptColumn(), 16);
  }
}

TEST(LineEditor, RunsTheLineAsTypedIfItsCommandChangesTheLine) {
  Typist typist;
  // Long enough to stand outside of the string object.
  const std::string line = "tab cat Midi/Source/Sequencer/SequencerOut1";
  typist.host.during = [&] { typist.editor.drawPrompt("p /", std::string(300, 'x')); };
  typist.type(line + "<c-j>");
  EXPECT_EQ(typist.host.lines, (Lines{line}));
  EXPECT_EQ(typist.editor.history().entries(), (Lines{line}));
  EXPECT_EQ(typist.line(), "|");
}

TEST(LineEditor, RunsTheTabCommandWithTheLineOnTab) {
  struct Completion {
    std::string_view keys;
    std::string line;
  };
  const std::vector<Completion> completions{{"", "tab "},         {"   ", "tab "},
                                            {"  ls", "tab ls"},   {"cat Mi", "tab cat Mi"},
                                            {"a;q ", "tab a;q "}, {"cat ab<left>", "tab cat ab"}};
  for (const Completion& completion : completions) {
    Typist typist;
    typist.type(completion.keys);
    const std::string before = typist.line();
    EXPECT_EQ(typist.drawn("<tab>"), "\n") << completion.keys;
    EXPECT_EQ(typist.host.lines, (Lines{completion.line})) << completion.keys;
    EXPECT_EQ(typist.line(), before) << completion.keys;
    EXPECT_TRUE(typist.editor.history().entries().empty()) << completion.keys;
  }
}

TEST(LineEditor, LetsTheTabCommandCompleteTheLine) {
  Typist typist;
  typist.host.during = [&] {
    typist.editor.drawPrompt("p /");
    typist.editor.replaceLastWord("Midi/");
  };
  typist.type("cd Mi");
  EXPECT_EQ(typist.drawn("<tab>"),
            "\n\x1b[0G[p /]$ \x1b[8Gcd Mi\x1b[0K\x1b[13G\x1b[8G"
            "cd Midi/\x1b[0K\x1b[16G");
  EXPECT_EQ(typist.line(), "cd Midi/|");
}

TEST(LineEditor, ReplacesNoWordInALineWithoutASeparator) {
  Typist typist;
  typist.type("c");
  typist.stream.take();
  typist.editor.replaceLastWord("cat");
  EXPECT_EQ(typist.stream.take(), "");
  EXPECT_EQ(typist.line(), "c|");
}

TEST(LineEditor, WalksThroughTheHistory) {
  const std::string twelve = "0<c-j>1<c-j>2<c-j>3<c-j>4<c-j>5<c-j>6<c-j>7<c-j>8<c-j>9<c-j>a<c-j>b<c-j>";
  const std::vector<Typed> rows{
      {"up", "<up>", "b|"},
      {"ctrl-p", "<c-p>", "b|"},
      {"up and down", "typed<up><up><down><down>", "typed|"},
      {"ctrl-n", "typed<c-p><c-p><c-n>", "b|"},
      {"page up", "<pgup>", "2|"},
      {"page up stops at the oldest", "<pgup><pgup>", "0|"},
      {"page down", "typed<pgup><pgup><pgdn>", "a|"},
      {"page down stops at the typed line", "typed<pgup><pgup><pgdn><pgdn>", "typed|"},
      {"down with nothing newer", "typed<home><down>", "typed|"},
      {"a recalled line can be edited", "<up>x<left>y", "by|x"},
  };
  for (const Typed& row : rows) {
    Typist typist;
    typist.type(twelve);
    typist.type(row.keys);
    EXPECT_EQ(typist.line(), row.line) << row.name;
  }
}

TEST(LineEditor, DrawsNothingForAHistoryWalkOfNoSteps) {
  Typist typist;
  typist.type("one<c-j>");
  typist.stream.take();
  typist.editor.historyBack(0);
  typist.editor.historyForward(0);
  EXPECT_EQ(typist.stream.take(), "");
}

TEST(LineEditor, RecordsARecalledLineAgain) {
  Typist typist;
  typist.type("one<c-j>two<c-j><up><up><c-j>");
  EXPECT_EQ(typist.host.lines, (Lines{"one", "two", "one"}));
  EXPECT_EQ(typist.editor.history().entries(), (Lines{"one", "two", "one"}));
}

}  // namespace
}  // namespace flowscope
