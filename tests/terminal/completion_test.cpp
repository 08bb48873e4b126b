#include "terminal/completion.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "tests/support/memory_stream.h"
#include "tests/terminal/fakes.h"

namespace flowscope {
namespace {

using Names = std::vector<std::string>;

constexpr std::array<std::string_view, 4> Commands{"cat", "cd", "con", "ls"};

TEST(Completion, OffersTheCommandsThatBeginWithTheWord) {
  struct Row {
    const char* word;
    std::optional<Names> candidates;
  };
  const Row rows[] = {
      {nullptr, Names{"cat", "cd", "con", "ls"}},
      {"", Names{"cat ", "cd ", "con ", "ls "}},
      {"c", Names{"cat ", "cd ", "con "}},
      {"co", Names{"con "}},
      {"con", Names{"con "}},
      {"con ", std::nullopt},
      {"con  ", Names{}},
      {"conx", Names{}},
      {"C", Names{}},
  };
  for (const auto& row : rows) EXPECT_EQ(matchCommandSet(Commands, row.word), row.candidates);
}

TEST(Completion, FindsTheCommonPrefixOfItsCandidates) {
  struct Row {
    Names candidates;
    const char* prefix;
  };
  const Row rows[] = {
      {{}, ""},
      {{"abc"}, "abc"},
      {{"abc", "abd"}, "ab"},
      {{"ab", "abc"}, "ab"},
      {{"abc", "ab"}, "ab"},
      {{"abc", "x", "abd"}, ""},
      {{"", "a"}, ""},
  };
  for (const auto& row : rows) EXPECT_EQ(commonPrefix(row.candidates), row.prefix);
}

class Offer : public testing::Test {
 protected:
  void type(std::string_view text) {
    for (const char letter : text) editor.handleKey(letter);
    out.take();
  }

  test::MemoryStream out;
  test::FixedSize size;
  test::ScriptedKeys keys;
  test::RecordingHost host;
  ConsoleOutput output{out.stream(), size, keys, false};
  LineEditor editor{host, keys, out.stream(), false};
};

constexpr const char* Prompt = "\033[0G[p]$ \033[6G";

TEST_F(Offer, WithoutCandidatesDrawsTheLineAgain) {
  type("ls x");
  offerCommands(editor, output, "p", {});
  EXPECT_EQ(out.take(), std::string(Prompt) + "ls x\033[0K\033[10G");
  offerPaths(editor, output, "p", {});
  EXPECT_EQ(out.take(), std::string(Prompt) + "ls x\033[0K\033[10G");
  EXPECT_EQ(editor.buffer(), "ls x");
}

TEST_F(Offer, OfOneCommandReplacesTheLine) {
  type("co");
  offerCommands(editor, output, "p", Names{"con "});
  EXPECT_EQ(editor.buffer(), "con ");
  EXPECT_EQ(editor.cursor(), 4U);
  EXPECT_EQ(out.take(), std::string(Prompt) + "con \033[0K\033[10G");
}

TEST_F(Offer, OfSeveralCommandsListsThemAndKeepsTheLine) {
  type("c");
  offerCommands(editor, output, "p", Names{"cat ", "cd ", "con "});
  EXPECT_EQ(editor.buffer(), "c");
  const auto printed = out.take();
  EXPECT_NE(printed.find("cat   "), std::string::npos);
  EXPECT_TRUE(printed.ends_with(std::string(Prompt) + "c\033[0K\033[7G")) << printed;
}

TEST_F(Offer, OfOnePathReplacesTheLastPartOfThePath) {
  type("cd a/b/Seq");
  offerPaths(editor, output, "p", Names{"Sequencer/"});
  EXPECT_EQ(editor.buffer(), "cd a/b/Sequencer/");
  type("x y");
  offerPaths(editor, output, "p", Names{"yes"});
  EXPECT_EQ(editor.buffer(), "cd a/b/Sequencer/x yes");
}

TEST_F(Offer, OfTheParentAddsASlash) {
  type("cd .");
  offerPaths(editor, output, "p", Names{".."});
  EXPECT_EQ(editor.buffer(), "cd ../");
}

TEST_F(Offer, OfSeveralPathsCompletesTheirCommonPrefix) {
  type("cd S");
  offerPaths(editor, output, "p", Names{"SequencerOut1", "SequencerOut2"});
  EXPECT_EQ(editor.buffer(), "cd SequencerOut");
  EXPECT_EQ(editor.cursor(), editor.buffer().size());
}

}  // namespace
}  // namespace flowscope
