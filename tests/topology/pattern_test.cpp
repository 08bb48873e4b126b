#include "topology/pattern.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/topology/sample_tree.h"

namespace flowscope {
namespace {

using Texts = std::vector<std::string>;

TEST(SplitAtChar, CutsIntoPieces) {
  const struct {
    const char* text;
    Texts pieces;
  } cases[] = {
      {"", {""}},
      {"/", {""}},
      {"a", {"a"}},
      {"/a", {"a"}},
      {"a/", {"a", ""}},
      {"/a/b", {"a", "b"}},
      {"//a///b//", {"a", "b", ""}},
  };
  for (const auto& each : cases) {
    Texts pieces;
    splitAtChar(each.text, pieces, '/');
    EXPECT_EQ(pieces, each.pieces) << each.text;
  }
}

TEST(SplitAtChar, AppendsAndTakesAnySeparator) {
  Texts pieces{"kept"};
  splitAtChar("a/b;c", pieces, ';');
  EXPECT_EQ(pieces, (Texts{"kept", "a/b", "c"}));
}

constexpr const char* Outline =
    "a\n"
    "  b\n"
    "    c\n"
    "  bb\n"
    "ab\n"
    "  b\n"
    "x.y\n"
    "xzy\n"
    "twin\n"
    "twin\n"
    "b*\n"
    "[]\n"
    "  p";

TEST(CollectNodePaths, WalksInTheOrderOfTheTree) {
  const auto root = treeOf(Outline);
  const struct {
    std::size_t depth;
    Texts paths;
  } cases[] = {
      {0, {"/a", "/ab", "/x.y", "/xzy", "/twin", "/twin", "/b*", "/[]"}},
      {1, {"/a", "/ab", "/x.y", "/xzy", "/twin", "/twin", "/b*", "/[]"}},
      {2, {"/a", "/a/b", "/a/bb", "/ab", "/ab/b", "/x.y", "/xzy", "/twin", "/twin", "/b*", "/[]", "/[]/p"}},
      {9, {"/a", "/a/b", "/a/b/c", "/a/bb", "/ab", "/ab/b", "/x.y", "/xzy", "/twin", "/twin", "/b*", "/[]", "/[]/p"}},
  };
  for (const auto& each : cases) {
    Texts paths{"kept"};
    collectNodePaths(each.depth, root->children, paths);
    ASSERT_FALSE(paths.empty());
    EXPECT_EQ(paths.front(), "kept");
    paths.erase(paths.begin());
    EXPECT_EQ(paths, each.paths) << each.depth;
  }
}

TEST(ExpandPattern, MatchesWholePaths) {
  const auto root = treeOf(Outline);
  const struct {
    const char* pattern;
    Texts matches;
  } cases[] = {
      // The root is nothing that can be matched.
      {"", {}},
      {"/", {}},
      // Names without wildcards.
      {"/a", {"/a"}},
      {"/a/b", {"/a/b"}},
      {"/a/b/c", {"/a/b/c"}},
      {"/A", {}},
      {"/zz", {}},
      {"a", {}},
      {"/a/", {}},
      {"/twin", {"/twin", "/twin"}},
      // "*" at one level and over several.
      {"/*", {"/a", "/ab", "/x.y", "/xzy", "/twin", "/twin", "/b*", "/[]"}},
      {"/a*", {"/a", "/ab"}},
      {"/*/*", {"/a/b", "/a/bb", "/ab/b", "/[]/p"}},
      {"/a/b*", {"/a/b", "/a/bb"}},
      {"/a*/b", {"/a/b", "/ab/b"}},
      {"/a*b", {"/ab"}},
      // Matches of a part, at the end and at the beginning.
      {".b", {}},
      {"[/]ab*", {"/ab", "/ab/b"}},  // the slash counts as the start of a name
      {"[/]x", {}},
      {"/*/c", {}},
      {"/*/*/c", {"/a/b/c"}},
      {"/a/*/*", {"/a/b/c"}},
      {"/**", {"/a", "/ab", "/x.y", "/xzy", "/twin", "/twin", "/b*", "/[]"}},
      {"*", {"/a", "/ab", "/x.y", "/xzy", "/twin", "/twin", "/b*", "/[]"}},
      // The other characters of basic regular expressions.
      {"/x.y", {"/x.y", "/xzy"}},
      {"/x\\.y", {"/x.y"}},
      {"/x[z]y", {"/xzy"}},
      {"/x[^z]y", {"/x.y"}},
      {"^/a", {"/a"}},
      {"/a$", {"/a"}},
      {"/\\[]", {"/[]"}},
      {"/\\[]/p", {"/[]/p"}},
      {"/ab\\{0,1\\}", {"/a", "/ab"}},
      {"/a\\|/ab", {"/a", "/ab"}},
      {"/zz\\|/ab", {"/ab"}},
      {"/\\(a\\)", {"/a"}},
      // A literal star cannot be asked for plainly: a dot is put in front of it.
      {"/b\\*", {}},
      {"/b[*]", {"/b*"}},
      // No expressions.
      {"/[", {}},
      {"/a\\", {}},
      {"/\\(a", {}},
      {"/a\\{", {}},
  };
  for (const auto& each : cases) EXPECT_EQ(expandPattern(each.pattern, *root), each.matches) << each.pattern;
}

TEST(ExpandPattern, SearchesAsDeepAsThePatternHasNames) {
  const auto root = treeOf("a\n  b\n    c");
  EXPECT_EQ(expandPattern("/a*", *root), Texts{"/a"});
  EXPECT_EQ(expandPattern("/a/*", *root), Texts{"/a/b"});
}

TEST(ExpandPattern, TakesADotInFrontOfAStarAsAByte) {
  const auto root = treeOf("ab\nabc");
  EXPECT_EQ(expandPattern("/ab.*", *root), Texts{"/abc"});  // the star stands for any text behind any character
}

TEST(ExpandPattern, IsNewlineSensitive) {
  TopologyNode root("/");
  root.addChild("a\nb");
  root.addChild("a b");
  EXPECT_EQ(expandPattern("/a.b", root), Texts{"/a b"});
  EXPECT_EQ(expandPattern("/a*b", root), Texts{"/a b"});
}

TEST(ExpandPattern, MatchesNothingInAnEmptyTree) { EXPECT_EQ(expandPattern("/*", TopologyNode("/")), Texts()); }

// What the search skips without asking the engine must be what the engine refuses.
TEST(ExpandPattern, AgreesWithASearchThatSkipsNothing) {
  const auto root = treeOf("Midi\n  Source\n    Seq\n      SeqOut1\n      SeqOut2\n  Sink\n    Seq\n      SeqIn1\nMid");
  const char* const patterns[] = {"/Midi/Source/Seq/*",    "/Midi/S*/Seq/SeqOut1", "/Mid",           "/Mid*/Si*",
                                  "/Midi/Sink/Seq/SeqIn1", "/M.di/Source",         "/Midi/So\\|/Mid"};
  for (const std::string pattern : patterns) {
    // Where a backslash stands, nothing is skipped.
    const Texts plain = expandPattern(pattern, *root);
    const Texts unskipped = expandPattern(pattern + "\\(\\)", *root);
    EXPECT_EQ(plain, unskipped) << pattern;
    EXPECT_FALSE(plain.empty()) << pattern;
  }
}

TEST(ExpandPattern, FindsEveryMatchInALargeTree) {
  TopologyNode root("/");
  for (int group = 0; group < 100; ++group) {
    TopologyNode& node = root.addChild("g" + std::to_string(group));
    for (int port = 0; port < 1000; ++port) node.addChild("p" + std::to_string(port));
  }
  EXPECT_EQ(expandPattern("/*/p77", root).size(), 100U);
  EXPECT_EQ(expandPattern("/g7/*", root).size(), 1000U);
  EXPECT_EQ(expandPattern("/*/*", root).size(), 100'000U);
}

TEST(CollectNodePaths, ReachesTheBottomOfADeepTree) {
  TopologyNode root("/");
  TopologyNode* node = &root;
  for (int depth = 0; depth < 3000; ++depth) node = &node->addChild("n");
  Texts paths;
  collectNodePaths(3000, root.children, paths);
  ASSERT_EQ(paths.size(), 3000U);
  EXPECT_EQ(paths.back().size(), 6000U);
}

}  // namespace
}  // namespace flowscope
