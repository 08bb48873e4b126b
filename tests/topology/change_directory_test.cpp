#include "topology/change_directory.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <stdexcept>

#include "tests/support/fakes.h"
#include "tests/topology/sample_tree.h"

namespace flowscope {
namespace {

class Shell : public TopologyShell {
 public:
  ConsoleOutput& output() override { return output_; }
  TopologyNode& tree() override { return *tree_; }
  PathComponents& currentPath() override { return path_; }
  void pathChanged() override { shown.push_back(absolutePath(path_)); }

  StrmSrv::Patcher* patcher() override { return nullptr; }
  AttachedList& attached() override { return attached_; }
  RefreshRound& refreshRound() override { return round_; }

  ~Shell() override { std::fclose(out_); }
  Shell() = default;
  Shell(const Shell&) = delete;
  Shell& operator=(const Shell&) = delete;

  std::vector<std::string> shown;  // what the prompt was told

 private:
  std::FILE* out_ = std::fopen("/dev/null", "w");
  test::FixedSize size_{4};
  test::ScriptedKeys keys_{{'q', 'q', 'q'}};  // at each prompt: pages are told apart by what stops
  ConsoleOutput output_{out_, size_, keys_, false};
  std::unique_ptr<TopologyNode> tree_ = treeOf("a\n  b\n    c\n  d\nb\n  x");
  PathComponents path_;
  AttachedList attached_;
  RefreshRound round_;
};

struct Step {
  PathComponents from;
  const char* argument;
  ResultCode result;
  PathComponents to;
};

TEST(ChangeDirectory, GoesWhereThePathLeads) {
  const Step steps[] = {
      {{"a", "b"}, nullptr, ResultOk, {}},
      {{}, nullptr, ResultOk, {}},
      {{}, "..", ResultOk, {}},
      {{"a", "b"}, "..", ResultOk, {"a"}},
      {{}, "a", ResultOk, {"a"}},
      {{}, "a/b/", ResultOk, {"a", "b"}},
      {{"a"}, "b", ResultOk, {"a", "b"}},
      {{"a"}, "/b", ResultOk, {"b"}},
      {{"a"}, "/", ResultOk, {}},
      {{}, "/a/zz/b", ResultOk, {"a", "b"}},
      {{}, "/a/zz", ResultSilent, {}},
      {{"b"}, "a//b", ResultOk, {"b"}},
      {{"a"}, "d//x", ResultSilent, {"a"}},
      {{"a", "b"}, "~", ResultOk, {"a"}},
      {{"a", "b"}, "~/d", ResultOk, {"a", "d"}},
      {{}, "./a", ResultSilent, {}},
      {{"a"}, "./b", ResultSilent, {"a"}},
      {{}, ".", ResultSilent, {}},
      {{"a"}, "./zz", ResultSilent, {"a"}},
      {{"a"}, "B", ResultSilent, {"a"}},
      {{"a"}, "zz", ResultSilent, {"a"}},
  };
  for (const Step& step : steps) {
    Shell shell;
    shell.currentPath() = step.from;
    const char* shown = step.argument == nullptr ? "no argument" : step.argument;
    EXPECT_EQ(changeDirectory(shell, step.argument), step.result) << shown;
    EXPECT_EQ(shell.currentPath(), step.to) << shown;
    const std::vector<std::string> told =
        step.result == ResultOk ? std::vector{absolutePath(step.to)} : std::vector<std::string>{};
    EXPECT_EQ(shell.shown, told) << shown;
  }
}

TEST(ChangeDirectory, HasNoEffectWhenTheTextIsNoPath) {
  for (const char* argument : {"", "~", "~/a"}) {
    Shell shell;
    EXPECT_THROW(changeDirectory(shell, argument), std::out_of_range) << argument;
    EXPECT_TRUE(shell.currentPath().empty());
    EXPECT_TRUE(shell.shown.empty());
  }
}

// Lines that pass before the prompt of the pager stops them.
int pagedLines(Shell& shell) {
  int lines = 0;
  while (lines < 100 && shell.output().writeLine({0, 0, "line"}, true)) ++lines;
  return lines;
}

TEST(ChangeDirectory, StartsAFreshPage) {
  Shell shell;
  EXPECT_EQ(pagedLines(shell), 2);
  EXPECT_EQ(changeDirectory(shell, "zz"), ResultSilent);
  EXPECT_EQ(pagedLines(shell), 0);
  EXPECT_EQ(changeDirectory(shell, "a"), ResultOk);
  EXPECT_EQ(pagedLines(shell), 2);
}

}  // namespace
}  // namespace flowscope
