#include "topology/path.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/topology/sample_tree.h"

namespace flowscope {
namespace {

struct ResolveCase {
  const char* text;
  PathComponents base;
  const char* absolute;
};

TEST(Path, ResolvesTextsAgainstTheCurrentPath) {
  const ResolveCase cases[] = {
      {"b", {}, "/b"},
      {"b", {"x", "y"}, "/x/y/b"},
      {"/", {"x", "y"}, ""},
      {"/b", {"x"}, "/b"},
      {"/b/c", {"x"}, "/b/c"},
      {"b/", {"x"}, "/x/b"},
      {"/b/", {"x"}, "/b"},
      {"a//b", {"x"}, "/b"},
      {"a//", {"x"}, ""},
      {"//", {"x"}, ""},
      {"//a", {"x"}, "/a"},
      {"a///b/c", {"x"}, "/b/c"},
      {"..", {}, ""},
      {"..", {"x"}, ""},
      {"..", {"x", "y"}, "/x"},
      {"../", {"x", "y"}, "/x"},
      {"../..", {"x", "y"}, ""},
      {"../../..", {"x", "y"}, ""},
      {"../z", {"x", "y"}, "/x/z"},
      {"/..", {"x", "y"}, ""},
      {"a/..", {"x"}, "/x"},
      {"a/../b", {"x"}, "/x/b"},
      {"..a", {"x"}, "/x/..a"},
      {"...", {"x"}, "/x/..."},
      {".", {"x"}, "/x/."},
      {"./a", {"x"}, "/x/./a"},
      {"~", {"a", "b"}, "/a"},
      {"~/", {"a", "b"}, "/a"},
      {"~/c", {"a", "b"}, "/a/c"},
      {"~c", {"a", "b"}, "/ac"},
      {"~/..", {"a", "b"}, ""},
      {"c/~", {"a"}, "/a/c/~"},
      {"*", {"a"}, "/a/*"},
      {" ", {"a"}, "/a/ "},
  };
  for (const ResolveCase& each : cases) {
    EXPECT_EQ(resolvePath(each.text, each.base), each.absolute) << each.text << " in " << absolutePath(each.base);
  }
}

template <class Call>
std::string outOfRange(Call call) {
  try {
    call();
  } catch (const std::out_of_range& error) {
    return error.what();
  }
  return "no error";
}

TEST(Path, RefusesTheEmptyText) {
  EXPECT_NE(outOfRange([] { resolvePath("", {"a"}); }).find("basic_string::at"), std::string::npos);
}

TEST(Path, RefusesTheTildeAtTheRoot) {
  EXPECT_NE(outOfRange([] { resolvePath("~", {}); }).find("vector::_M_range_check"), std::string::npos);
  EXPECT_NE(outOfRange([] { resolvePath("~/x", {}); }).find("vector::_M_range_check"), std::string::npos);
}

TEST(Path, JoinsComponentsToAnAbsolutePath) {
  EXPECT_EQ(absolutePath({}), "");
  EXPECT_EQ(absolutePath({"a"}), "/a");
  EXPECT_EQ(absolutePath({"a", "b"}), "/a/b");
}

struct LookupCase {
  const char* path;
  std::optional<PathComponents> found;
};

TEST(Path, LooksUpNamesAndSkipsUnknownOnesBeforeTheLast) {
  const auto root = treeOf("a\n  b\n    c\n  Twin\n    first\n  Twin\n    second\nb\n.\n  dotted");
  const PathComponents nothing;
  const LookupCase cases[] = {
      {"", nothing},
      {"/a", PathComponents{"a"}},
      {"/a/b", PathComponents{"a", "b"}},
      {"/a/b/c", PathComponents{"a", "b", "c"}},
      {"/a/zz/b", PathComponents{"a", "b"}},
      {"/zz/a", PathComponents{"a"}},
      {"/zz/yy/b", PathComponents{"b"}},
      {"/a/zz", std::nullopt},
      {"/zz", std::nullopt},
      {"/a/b/zz", std::nullopt},
      {"/A", std::nullopt},
      {"/a/B", std::nullopt},
      {"/a/", std::nullopt},
      {"/", std::nullopt},
      {"/a//b", PathComponents{"a", "b"}},
      {"a/b", PathComponents{"a", "b"}},
      {"/a/Twin/first", PathComponents{"a", "Twin", "first"}},
      {"/a/Twin/second", std::nullopt},
      {"/./dotted", PathComponents{".", "dotted"}},
      {"/./a", std::nullopt},
      {"/a/./b", std::nullopt},
  };
  for (const LookupCase& each : cases) EXPECT_EQ(lookupPath(each.path, *root), each.found) << each.path;
}

TEST(Path, FindsOnlyTheRootInAnEmptyTree) {
  const TopologyNode root("/");
  EXPECT_EQ(lookupPath("", root), PathComponents());
  EXPECT_EQ(lookupPath("/a", root), std::nullopt);
}

struct FindCase {
  PathComponents components;
  const char* name;
};

TEST(Path, FindsNodesAndSkipsUnknownNames) {
  const auto root = treeOf("a\n  b\n    c\nd");
  const FindCase cases[] = {
      {{}, "/"},         {{"a"}, "a"},       {{"a", "b", "c"}, "c"}, {{"a", "zz", "b"}, "b"},
      {{"a", "d"}, "a"}, {{"zz", "d"}, "d"}, {{"zz"}, "/"},
  };
  for (const FindCase& each : cases) {
    EXPECT_EQ(findNode(each.components, *root).name, each.name) << absolutePath(each.components);
  }
}

}  // namespace
}  // namespace flowscope
