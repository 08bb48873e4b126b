#include "terminal/line_editor.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "terminal/key_codes.h"
#include "terminal/key_decoder.h"
#include "tests/support/keys.h"
#include "tests/support/memory_stream.h"
#include "tests/terminal/fakes.h"

namespace flowscope {
namespace {

using test::MemoryStream;
using test::RecordingHost;
using test::ScriptedKeys;
using Lines = std::vector<std::string>;

// An editor behind its first prompt. Its input thread waits at the gate; keys are handed over here.
class Typist {
 public:
  explicit Typist(bool quiet = false) : editor(host, keys, stream.stream(), quiet) {
    editor.drawPrompt(host.promptText());
    stream.take();
  }

  void type(std::string_view keyNames) { typeBytes(testsupport::keyBytes(keyNames).value()); }

  void typeBytes(std::string_view bytes) {
    for (const char byte : bytes) {
      if (const auto code = decoder.feed(static_cast<unsigned char>(byte))) editor.handleKey(*code);
    }
  }

  // What is written for these keys.
  std::string drawn(std::string_view keyNames) {
    stream.take();
    type(keyNames);
    return stream.take();
  }

  // The line with a bar at the cursor.
  std::string line() const {
    std::string text = editor.buffer();
    return text.insert(editor.cursor(), "|");
  }

  RecordingHost host;
  MemoryStream stream;
  ScriptedKeys keys;
  KeyDecoder decoder;
  LineEditor editor;
};

TEST(LineEditor, APromptOfThreeCharactersPutsTheLineAtColumnEight) {
  RecordingHost host;
  MemoryStream stream;
  ScriptedKeys keys;
  LineEditor editor(host, keys, stream.stream(), false);
  editor.drawPrompt("p /");
  EXPECT_EQ(editor.promptColumn(), 8);
  EXPECT_EQ(stream.take(), "\x1b[0G[p /]$ \x1b[8G\x1b[0K\x1b[8G");
}

TEST(LineEditor, ThePromptMayBringANewLine) {
  Typist typist;
  typist.type("old");
  typist.stream.take();
  typist.editor.drawPrompt("label dir", "new");
  EXPECT_EQ(typist.stream.take(), "\x1b[0G[label dir]$ \x1b[14Gnew\x1b[0K\x1b[17G");
  EXPECT_EQ(typist.line(), "new|");
  typist.editor.drawPrompt("p /", "");
  EXPECT_EQ(typist.line(), "|");
}

struct Row {
  std::string_view name;
  std::string_view keys;
  std::string_view line;
};

TEST(LineEditor, KeysEditTheLine) {
  const std::vector<Row> rows{
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
  for (const Row& row : rows) {
    Typist typist;
    typist.type(row.keys);
    EXPECT_EQ(typist.line(), row.line) << row.name;
    EXPECT_TRUE(typist.host.lines.empty()) << row.name;
  }
}

TEST(LineEditor, CodesThatNoByteProduces) {
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

TEST(LineEditor, ExactBytesOfEachKey) {
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

TEST(LineEditor, EnterRunsRecordsAndClears) {
  Typist typist;
  typist.type("cd Midi<c-j> ls <left><c-j>");
  EXPECT_EQ(typist.host.lines, (Lines{"cd Midi", " ls "}));
  EXPECT_EQ(typist.editor.history().entries(), (Lines{"cd Midi", " ls "}));
  EXPECT_EQ(typist.line(), "|");
}

TEST(LineEditor, EnterOnAnEmptyLineRecordsAndRunsNothing) {
  Typist typist;
  typist.type("<c-j><c-j>");
  EXPECT_TRUE(typist.host.lines.empty());
  EXPECT_TRUE(typist.editor.history().entries().empty());
}

TEST(LineEditor, ABlankLineIsNotEmpty) {
  Typist typist;
  typist.type("  <c-j>");
  EXPECT_EQ(typist.host.lines, (Lines{"  "}));
  EXPECT_EQ(typist.editor.history().entries(), (Lines{"  "}));
}

TEST(LineEditor, QuittingDrawsNoPromptAndKeepsTheLine) {
  Typist typist;
  typist.host.answer = ResultQuit;
  EXPECT_EQ(typist.drawn("quit"),
            "\x1b[8Gq\x1b[0K\x1b[9G\x1b[8Gqu\x1b[0K\x1b[10G\x1b[8Gqui\x1b[0K\x1b[11G"
            "\x1b[8Gquit\x1b[0K\x1b[12G");
  EXPECT_EQ(typist.drawn("<c-j>"), "\n");
  EXPECT_EQ(typist.line(), "quit|");
  EXPECT_EQ(typist.editor.history().entries(), (Lines{"quit"}));
}

TEST(LineEditor, OtherResultsDrawThePromptOfTheNewPath) {
  for (const ResultCode answer : {ResultOk, ResultSilent, ResultNotFound, ResultUnknownError}) {
    Typist typist;
    typist.host.answer = answer;
    typist.host.during = [&] { typist.host.prompt = "p Sequencer"; };
    typist.type("cd x");
    EXPECT_EQ(typist.drawn("<c-j>"), "\n\x1b[8G\x1b[0K\x1b[8G\x1b[0G[p Sequencer]$ \x1b[16G\x1b[0K\x1b[16G") << answer;
    EXPECT_EQ(typist.editor.promptColumn(), 16);
  }
}

TEST(LineEditor, ACommandThatChangesTheLineDoesNotChangeWhatRuns) {
  Typist typist;
  // Long enough to stand outside of the string object.
  const std::string line = "tab cat Midi/Source/Sequencer/SequencerOut1";
  typist.host.during = [&] { typist.editor.drawPrompt("p /", std::string(300, 'x')); };
  typist.type(line + "<c-j>");
  EXPECT_EQ(typist.host.lines, (Lines{line}));
  EXPECT_EQ(typist.editor.history().entries(), (Lines{line}));
  EXPECT_EQ(typist.line(), "|");
}

TEST(LineEditor, TabRunsTheTabCommandOnTheLine) {
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

TEST(LineEditor, TheTabCommandMayCompleteTheLine) {
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

TEST(LineEditor, ALineWithoutSeparatorHasNoLastWordToReplace) {
  Typist typist;
  typist.type("c");
  typist.stream.take();
  typist.editor.replaceLastWord("cat");
  EXPECT_EQ(typist.stream.take(), "");
  EXPECT_EQ(typist.line(), "c|");
}

TEST(LineEditor, WalksThroughTheHistory) {
  const std::string twelve = "0<c-j>1<c-j>2<c-j>3<c-j>4<c-j>5<c-j>6<c-j>7<c-j>8<c-j>9<c-j>a<c-j>b<c-j>";
  const std::vector<Row> rows{
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
  for (const Row& row : rows) {
    Typist typist;
    typist.type(twelve);
    typist.type(row.keys);
    EXPECT_EQ(typist.line(), row.line) << row.name;
  }
}

TEST(LineEditor, WalkingNoStepsDrawsNothing) {
  Typist typist;
  typist.type("one<c-j>");
  typist.stream.take();
  typist.editor.historyBack(0);
  typist.editor.historyForward(0);
  EXPECT_EQ(typist.stream.take(), "");
}

TEST(LineEditor, AReplayedLineIsRecordedAgain) {
  Typist typist;
  typist.type("one<c-j>two<c-j><up><up><c-j>");
  EXPECT_EQ(typist.host.lines, (Lines{"one", "two", "one"}));
  EXPECT_EQ(typist.editor.history().entries(), (Lines{"one", "two", "one"}));
}

TEST(LineEditor, ResumingDrawsThePromptAndKeepsTheCursor) {
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

TEST(LineEditor, AQuietOneDrawsNothingAndReadsNothing) {
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

TEST(LineEditor, RunningIsStoredWithTheProcessWideFlag) {
  Typist typist;
  EXPECT_TRUE(typist.editor.running());
  EXPECT_TRUE(inputRunning);
  typist.editor.setRunning(false);
  EXPECT_FALSE(typist.editor.running());
  EXPECT_FALSE(inputRunning);
}

}  // namespace
}  // namespace flowscope
