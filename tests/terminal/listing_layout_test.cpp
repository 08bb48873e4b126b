#include "terminal/listing_layout.h"

#include <gtest/gtest.h>

#include <deque>
#include <optional>
#include <vector>

#include "tests/support/fakes.h"
#include "tests/support/memory_stream.h"

namespace flowscope {
namespace {

using Names = std::vector<std::string>;

class Node : public ListingNode {
 public:
  explicit Node(std::optional<std::string> nodeName) : name(std::move(nodeName)) {}

  Node& add(std::optional<std::string> childName) { return children.emplace_back(std::move(childName)); }

  const char* listedName() const override { return name ? name->c_str() : nullptr; }
  const char* listedData() const override { return data ? data->c_str() : nullptr; }
  std::uint32_t listedAttributes() const override { return attributes; }
  std::uint32_t listedColour() const override { return colour; }
  std::size_t listedChildCount() const override { return children.size(); }
  const ListingNode& listedChild(std::size_t index) const override { return children[index]; }

  std::optional<std::string> name;
  std::optional<std::string> data;
  std::uint32_t attributes = 0;
  std::uint32_t colour = 0;
  std::deque<Node> children;
};

class ListingLayout : public testing::Test {
 protected:
  test::MemoryStream out;
  test::FixedSize size;
  test::ScriptedKeys keys;
  ConsoleOutput output{out.stream(), size, keys, false};
  ConsoleOutput quiet{out.stream(), size, keys, true};
};

TEST_F(ListingLayout, ShowsMissingNamesAndDataAsPlaceholders) {
  EXPECT_EQ(nameOrNotFound(nullptr), "notfound");
  EXPECT_EQ(nameOrNotFound(""), "");
  EXPECT_EQ(formatData(nullptr), "[nodata]");
  EXPECT_EQ(formatData("one\ntwo\n"), "[one two ]");
  EXPECT_EQ(blanks(3), "   ");
  EXPECT_EQ(blanks(0), "");
  EXPECT_EQ(blanks(-2), "");
}

TEST_F(ListingLayout, ComputesTheColumnsForTheWidth) {
  struct Row {
    Names names;
    int width;
    ColumnGeometry geometry;
  };
  const Row rows[] = {
      {{"abc", "abcde", "abcdefghijk"}, 80, {13, 6}},
      {{"abc"}, 80, {5, 16}},
      {{"abc"}, 4, {5, 1}},
      {{"abc"}, 5, {5, 1}},
      {{"abc"}, 9, {5, 1}},
      {{"abc"}, 10, {5, 2}},
      {{"abc"}, 0, {5, 1}},
      {{std::string(200, 'x')}, 80, {202, 1}},
      {{}, 80, {2, 40}},
  };
  for (const auto& row : rows) EXPECT_EQ(measureNames(row.names, row.width), row.geometry) << row.width;
}

TEST_F(ListingLayout, MeasuresNodesWithTheirSlash) {
  Node parent("p");
  parent.add("abc");
  EXPECT_EQ(measureNodes(parent, 80).cellWidth, 5);
  parent.add("abc").add("x");
  EXPECT_EQ(measureNodes(parent, 80).cellWidth, 6);
  parent.add(std::nullopt);
  EXPECT_EQ(measureNodes(parent, 80).cellWidth, 10);
}

TEST_F(ListingLayout, ColumnsFillRowByRow) {
  EXPECT_TRUE(listColumns(output, Names{"abc", "abcde", "abcdefghijk"}, true, false));
  EXPECT_EQ(out.take(),
            "\033[39m\033[1Gabc          "
            "\033[39m\033[14Gabcde        "
            "\033[39m\033[27Gabcdefghijk  \n");
  size.columnCount = 10;
  EXPECT_TRUE(listColumns(output, Names{"abc", "de", "f"}, true, false));
  EXPECT_EQ(out.take(), "\033[39m\033[1Gabc  \033[39m\033[6Gde   \n\033[39m\033[1Gf    \n");
  EXPECT_TRUE(listColumns(output, Names{"abc", "de"}, true, false));
  EXPECT_EQ(out.take(), "\033[39m\033[1Gabc  \033[39m\033[6Gde   \n");
  EXPECT_TRUE(listColumns(output, Names{}, true, false));
  EXPECT_EQ(out.take(), "");
}

TEST_F(ListingLayout, QuietColumnsPutAnEmptyLineBehindEachName) {
  EXPECT_TRUE(listColumns(quiet, Names{"abc", "de"}, true, true));
  EXPECT_EQ(out.take(), "abc  \n\nde   \n\n");
}

TEST_F(ListingLayout, ColumnsStopAtThePrompt) {
  size.rowCount = 4;
  size.columnCount = 1;
  keys.type("q");
  EXPECT_FALSE(listColumns(output, Names{"a", "b", "c"}, true, true));
  EXPECT_EQ(out.take(),
            "\033[39m\033[1Ga  \n\033[39m\033[1Gb  \n"
            "\033[7m\033[5m\033[39mMore\033[27m\033[25m\033[2K");
}

TEST_F(ListingLayout, ResetStartsANewPage) {
  size.rowCount = 4;
  size.columnCount = 1;
  EXPECT_TRUE(listColumns(output, Names{"a", "b"}, true, true));
  EXPECT_TRUE(listColumns(output, Names{"a", "b"}, true, true));
  out.take();
  keys.type("q");
  EXPECT_FALSE(listColumns(output, Names{"a", "b"}, false, true));
}

TEST_F(ListingLayout, TreeShowsDataBehindNames) {
  Node root("top");
  root.add("a").data = "1\n2";
  Node& inner = root.add("longer");
  inner.add("x").data = "deep";
  inner.add("yy");
  root.add(std::nullopt);
  EXPECT_TRUE(drawTreeLevel(quiet, 2, root, true, true));
  EXPECT_EQ(out.take(),
            "        +-- top/\n"
            "            +-- a         [1 2]\n"
            "            +-- longer/\n"
            "                +-- x   [deep]\n"
            "                +-- yy  [nodata]\n"
            "            +-- notfound  [nodata]\n");
}

TEST_F(ListingLayout, TreeWithoutDataPadsOnlyLeaves) {
  Node root("top");
  root.add("a");
  root.add("bcd").add("e");
  EXPECT_TRUE(drawTreeLevel(quiet, 0, root, false, false));
  EXPECT_EQ(out.take(), "+-- top/\n    +-- a     \n    +-- bcd/\n        +-- e  \n");
  Node leaf("alone");
  EXPECT_TRUE(drawTreeLevel(quiet, 0, leaf, false, false));
  EXPECT_EQ(out.take(), "+-- alone\n");
}

TEST_F(ListingLayout, TreeLinesHaveTheStyleOfTheirNode) {
  Node root("top");
  root.attributes = AttrBold;
  root.add("a").attributes = AttrReverse;
  EXPECT_TRUE(drawTreeLevel(output, 0, root, false, false));
  EXPECT_EQ(out.take(),
            "\033[1m\033[39m\033[1G+-- top/\n\033[22m"
            "\033[7m\033[39m\033[1G    +-- a  \n\033[27m");
}

// A terminal that counts how often it is asked for its height.
class AskedSize : public test::FixedSize {
 public:
  int rows() override {
    ++asked;
    return FixedSize::rows();
  }

  int asked = 0;
};

TEST_F(ListingLayout, UnpagedTreeAsksForTheHeightOnceAndCountsItsLines) {
  AskedSize terminal;
  ConsoleOutput to(out.stream(), terminal, keys, false);
  // In one row the page is full after a line that is not counted.
  terminal.rowCount = 1;
  keys.type(" q");
  ASSERT_TRUE(to.writeLine({AttrNone, ColourDefault, "first"}, true));
  terminal.rowCount = 24;
  terminal.asked = 0;
  Node root("top");
  for (int i = 0; i < 1000; ++i) root.add("leaf");
  EXPECT_TRUE(drawTreeLevel(to, 0, root, false, false));
  EXPECT_EQ(terminal.asked, 1);
  terminal.rowCount = 3;
  EXPECT_FALSE(to.writeLine({AttrNone, ColourDefault, "last"}, true)) << "the lines of the tree were not counted";
}

TEST_F(ListingLayout, TreeStopsAtThePrompt) {
  size.rowCount = 4;
  Node root("top");
  root.add("a").add("b");
  root.add("c");
  keys.type("\nq");
  EXPECT_FALSE(drawTreeLevel(output, 0, root, false, true));
  const auto printed = out.take();
  EXPECT_NE(printed.find("+-- b"), std::string::npos);
  EXPECT_EQ(printed.find("+-- c"), std::string::npos);
}

}  // namespace
}  // namespace flowscope
