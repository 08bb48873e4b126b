#include "topology/pattern_bounds.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>

#include <ctime>
#include <string>

#include "tests/support/sanitizer.h"
#include "tests/topology/sample_tree.h"
#include "topology/pattern.h"

namespace flowscope {
namespace {

std::string times(const std::string& text, std::size_t count) {
  std::string result;
  for (std::size_t i = 0; i < count; ++i) result += text;
  return result;
}

std::string nested(std::size_t depth) { return times("\\(", depth) + "a" + times("\\)", depth); }

TEST(PatternBounds, HoldForEachKindOfExpression) {
  const struct {
    const char* what;
    std::string within;
    std::string beyond;
  } cases[] = {
      {"bytes", times("a", 1024), times("a", 1025)},
      {"escaped bytes", times("\\.", 512), times("\\.", 512) + "a"},
      {"nesting", nested(64), nested(65)},
      {"nesting that is not closed", times("\\(", 64), times("\\(", 65)},
      {"stars", times(".*", 100), times(".*", 101)},
      {"question marks", times("a\\?", 100), times("a\\?", 101)},
      {"plus signs", times("a\\+", 100), times("a\\+", 101)},
      {"intervals", times("a\\{1\\}", 100), times("a\\{1\\}", 101)},
      {"carets", "a" + times("^", 8), "a" + times("^", 9)},
      {"dollars", times("$", 8), times("$", 9)},
      {"words", times("\\b\\B\\<\\>", 2), times("\\b\\B\\<\\>", 2) + "\\b"},
      {"ends of the text", times("\\`\\'", 4), times("\\`\\'", 4) + "\\`"},
      {"starts of alternatives", times("\\(^\\|a\\)", 8), times("\\(^\\|a\\)", 9)},
      {"back-references", "\\(a\\)\\1", "\\(a\\)\\(b\\)\\1\\2"},
      {"a back-reference twice", "\\(a\\)\\1", "\\(a\\)\\1\\1"},
  };
  for (const auto& each : cases) {
    EXPECT_TRUE(isWithinPatternBounds(each.within)) << each.what;
    EXPECT_FALSE(isWithinPatternBounds(each.beyond)) << each.what;
  }
}

TEST(PatternBounds, CountRepetitionsAsTheEngineWritesThemOut) {
  const struct {
    const char* within;
    const char* beyond;
  } cases[] = {
      {"a\\{1023\\}", "a\\{1024\\}"},
      {"a\\{0,1023\\}", "a\\{0,1024\\}"},
      {"a\\{,1023\\}", "a\\{,1024\\}"},
      {"a\\{1022,\\}", "a\\{1023,\\}"},
      {"a\\{1\\}", "a\\{99999999999999999999999\\}"},
      {"\\(a\\{20\\}\\)\\{40\\}", "\\(a\\{20\\}\\)\\{41\\}"},  // 25 bytes, and the sign
      {"a\\{31\\}\\{30\\}", "a\\{40\\}\\{30\\}"},
      {"a\\+\\+\\+\\+\\+\\+", "a\\+\\+\\+\\+\\+\\+\\+"},
      {"\\(.*\\)\\{99\\}", "\\(.*\\)\\{100\\}"},
      {"\\(^\\)\\{8\\}", "\\(^\\)\\{9\\}"},
      {"\\(a\\)\\1\\{1\\}", "\\(a\\)\\1\\{2\\}"},
      {"\\(a\\)\\(\\1\\)\\?", "\\(a\\)\\(\\1\\)\\+"},
      {"\\(a\\)b\\{1000\\}", "\\(a\\)\\(b\\)\\{1000\\}"},
  };
  for (const auto& each : cases) {
    EXPECT_TRUE(isWithinPatternBounds(each.within)) << each.within;
    EXPECT_FALSE(isWithinPatternBounds(each.beyond)) << each.beyond;
  }
}

TEST(PatternBounds, BetweenBracketsOnlyBytesCount) {
  EXPECT_TRUE(isWithinPatternBounds(times("[^*]", 200)));
  EXPECT_TRUE(isWithinPatternBounds("[" + times("\\(", 100) + times("$", 100) + "]"));
  EXPECT_FALSE(isWithinPatternBounds("[" + times("a", 1023) + "]"));
  // Where a bracket ends, in ways that are easily overlooked: what follows counts.
  for (const std::string start :
       {"[]]", "[^]]", "[a]", "[[:alpha:]]", "[[:alpha:]^]", "[[.].]]", "[[=]=]]", "[\\]", "[[]", "[a-]", "[[.-.]-]"}) {
    EXPECT_TRUE(isWithinPatternBounds(start + times("^", 8))) << start;
    EXPECT_FALSE(isWithinPatternBounds(start + times("^", 9))) << start;
  }
  for (const std::string start : {"[]", "[^]", "[[:alpha:]", "[[.].]", "[[:]"}) {
    EXPECT_TRUE(isWithinPatternBounds(start + times("^", 9))) << start;
  }
}

TEST(PatternBounds, TruncatedPatternsAreWithinThem) {
  const std::string text = "/a\\(b[^[:alpha:]]\\{2,3\\}\\)\\1*x\\+[]x]^";
  for (std::size_t length = 0; length <= text.size(); ++length) {
    EXPECT_TRUE(isWithinPatternBounds(text.substr(0, length))) << length;
  }
  EXPECT_TRUE(isWithinPatternBounds("\\)\\)\\)"));
}

// Each of these took the engine's stack, gigabytes or minutes. A thread with the smallest stack that is common survives
// them, too.
TEST(PatternBounds, PatternsBeyondThemMatchNothing) {
  const auto root = treeOf("a\n  b\naa");
  const std::string patterns[] = {
      times("\\(", 15'000),
      nested(15'000),
      times("*", 20'000),
      "/" + times("*", 20'000),
      "/a" + times("a\\?", 20'000),
      "/a" + times("\\b", 100),
      "/a" + times("\\(^\\|$\\)", 100),
      "/a\\{30000\\}\\{30000\\}",
      "/a" + times("\\+", 40),
      "/\\(\\|\\)\\(\\1\\1\\)\\+",
      "/\\(*\\)\\(*\\)\\(*\\)\\(*\\)\\1\\2\\3\\4",
  };
  for (const std::string& pattern : patterns) {
    EXPECT_TRUE(expandPattern(pattern, *root).empty()) << pattern.substr(0, 60);
  }
}

TEST(PatternBounds, PatternsWithinThemMatch) {
  const auto root = treeOf("a\n  b\naa");
  using Texts = std::vector<std::string>;
  EXPECT_EQ(expandPattern("/" + times("*", 100), *root), (Texts{"/a", "/aa"}));
  EXPECT_EQ(expandPattern("/" + nested(64), *root), Texts{"/a"});
  EXPECT_EQ(expandPattern("/\\(a\\)\\1", *root), Texts{"/aa"});
  EXPECT_EQ(expandPattern("/a\\{2\\}", *root), Texts{"/aa"});
  EXPECT_EQ(expandPattern("/a" + times("a\\?", 100), *root), (Texts{"/a", "/aa"}));
  EXPECT_EQ(expandPattern("^/a\\>$", *root), Texts{"/a"});
}

// On the thread where commands run, with the smallest stack that a system gives it.
TEST(PatternBounds, LeaveRoomOnASmallStack) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, testsupport::Sanitized ? 512 * 1024 : 128 * 1024);
  pthread_t thread{};
  const auto expand = [](void*) -> void* {
    const auto root = treeOf("a\n  b\naa");
    const std::string patterns[] = {
        "/" + nested(64),
        "/" + times("\\(a*\\)", 100),
        "/" + times("\\(a\\|\\)", 146),
        "/a\\{1000\\}",
        "/" + times("\\b*", 8),
        "/" + times("\\(\\b\\|\\B\\)", 4) + "\\(a\\)\\1",
        "/" + times("*", 99) + "[ab]*",
    };
    for (const std::string& pattern : patterns) {
      EXPECT_LE(expandPattern(pattern, *root).size(), 2U);
    }
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, expand, nullptr), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

long peakKilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// A pattern that can match in as many ways as there are paths: the engine would keep each of them.
TEST(ExpandPattern, StaysSmallOverManyPaths) {
  TopologyNode root("/");
  unsigned bits = 1;
  for (int i = 0; i < 3000; ++i) {
    std::string name;
    for (int k = 0; k < 60; ++k) {
      bits = bits * 1'103'515'245 + 12'345;
      name += (bits >> 16 & 1) == 0 ? 'a' : 'b';
    }
    root.addChild(name);
  }
  const long before = peakKilobytes();
  EXPECT_GT(expandPattern("/*a" + times(".", 40), root).size(), 1000U);
  if (!testsupport::Sanitized) {
    EXPECT_LT(peakKilobytes() - before, 200 * 1024);
  }
}

double processorSeconds() {
  timespec used{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
  return static_cast<double>(used.tv_sec) + 1e-9 * static_cast<double>(used.tv_nsec);
}

// Compiling this takes a thousand times as long as matching a path.
TEST(ExpandPattern, CompilesASlowPatternSeldomHoweverManyThePathsAre) {
  const std::string pattern = "/p" + times("\\(\\B\\|\\)*", 8) + times("a\\?", 80) + "*";
  TopologyNode one("/");
  one.addChild("port");
  TopologyNode many("/");
  constexpr std::size_t Ports = 16'000;
  for (std::size_t i = 0; i < Ports; ++i) many.addChild("port" + times("0", 30) + std::to_string(i));
  const double begin = processorSeconds();
  EXPECT_EQ(expandPattern(pattern, one).size(), 1U);
  const double once = processorSeconds() - begin;
  EXPECT_EQ(expandPattern(pattern, many).size(), Ports);
  EXPECT_LT(processorSeconds() - begin - once, 15 * once) << "of 78 pieces of paths";
}

}  // namespace
}  // namespace flowscope
