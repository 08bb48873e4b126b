// What a refresh asks the library for, and what it need not ask again.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "terminal/styled_text.h"
#include "tests/traffic/recorded/recorded_fixture.h"
#include "topology/listing.h"
#include "topology/refresh.h"
#include "traffic/monitor_attachment.h"

namespace flowscope {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Calls = std::vector<std::string>;

// Names of ports and groups that are alike, also across the levels.
constexpr const char* AlikeNames =
    "Midi\n"
    "  Source\n"
    "    Seq\n"
    "      Out2.0\n"
    "      Out2.1\n"
    "      Tone\n"
    "    Tone\n"
    "      In3.0\n"
    "      Out2.1\n"
    "  Sink\n"
    "    Tone\n"
    "      In3.0\n"
    "      In3.0\n"
    "    Seq\n"
    "      Out2.0\n"
    "Audio\n"
    "  Source\n";

class RefreshCalls : public RecordedTest {
 protected:
  RefreshCalls() : RecordedTest({{{2, 3}, {0, 2}}, {{3, 2}, {2, 1}}, AlikeNames}, false) {
    auto& library = recording::library();
    library.sinksOf = {{"2.0", {{3, 0}}}, {"2.1", {{3, 0}, {3, 1}}}, {"0.1", {{2, 0}}}};
    library.sourcesOf = {{"3.0", {{2, 0}, {2, 1}}}, {"3.1", {{2, 1}}}};
  }

  // What the library was asked for.
  Calls refresh(const PathComponents& filter) {
    refreshTopology(shell, filter);
    return std::exchange(calls(), {});
  }

  std::string list(const char* path) {
    listCommand(shell, TreeListing, path);
    return shell.printed();
  }
};

const Calls Everything{"sinks of 2.0", "sinks of 2.1",   "sinks of 2.2",   "sinks of 0.0",
                       "sinks of 0.1", "sources of 3.0", "sources of 3.1", "sources of 2.0"};

TEST_F(RefreshCalls, PortsThatAreUpToDateAreNotAskedForAgain) {
  EXPECT_EQ(refresh({}), Everything);
  EXPECT_THAT(refresh({}), IsEmpty());
  EXPECT_THAT(refresh({"Midi", "Source", "Seq", "Out2.1"}), IsEmpty());
}

TEST_F(RefreshCalls, RefreshingAPlaceBringsAllBehindItUpToDate) {
  EXPECT_THAT(refresh({"Midi", "Sink", "Tone"}), ElementsAre("sources of 3.0", "sources of 3.1", "sources of 2.0"));
  EXPECT_THAT(refresh({"Midi", "Source", "Seq", "Out2.1"}),
              ElementsAre("sinks of 2.1", "sinks of 2.2", "sinks of 0.0", "sinks of 0.1"));
  EXPECT_THAT(refresh({"Midi", "Source", "Tone"}), IsEmpty());
  EXPECT_THAT(refresh({}), ElementsAre("sinks of 2.0"));
  EXPECT_THAT(refresh({}), IsEmpty());
}

// Below a port the filter goes on to be looked for among what stands behind: here as the name of another port.
TEST_F(RefreshCalls, FilterBelowAPortIsMatchedAgainstNamesBehindThePort) {
  EXPECT_THAT(refresh({"Midi", "Source", "Seq", "Out2.1", "zz"}), ElementsAre("sinks of 2.1"));
  EXPECT_THAT(refresh({"Midi", "Source", "Seq", "Out2.1", "zz"}), IsEmpty());
  EXPECT_THAT(refresh({"Midi", "Source", "Seq", "Out2.0", "Tone", "In3.0"}),
              ElementsAre("sinks of 2.0", "sinks of 2.2"));
  EXPECT_THAT(refresh({"Midi", "Source", "Seq", "Out2.0", "Tone"}),
              ElementsAre("sinks of 0.0", "sinks of 0.1", "sources of 3.0", "sources of 3.1", "sources of 2.0"));
  EXPECT_THAT(refresh({}), IsEmpty());
}

TEST_F(RefreshCalls, AChangeOfTheGraphMakesAllPortsStale) {
  refresh({});
  recording::library().sinksOf["2.0"] = {{3, 1}};
  EXPECT_EQ(refresh({}), Everything);
  EXPECT_EQ(shell.tree().findChild("Midi")->children[0]->children[0]->children[0]->children[0]->children[0]->name,
            "In3.1");
  EXPECT_THAT(refresh({}), IsEmpty());
}

TEST_F(RefreshCalls, AnotherPatcherMakesAllPortsStale) {
  refresh({});
  shell.renewPatcher();
  EXPECT_EQ(refresh({}), Everything);
}

TEST_F(RefreshCalls, AnotherTreeIsNotUpToDate) {
  refresh({});
  shell.setTree(treeOf(AlikeNames));
  EXPECT_EQ(refresh({}), Everything);
}

TEST_F(RefreshCalls, AGroupThatTheDeviceDoesNotListIsOutOfRangeEachTime) {
  shell.setTree(treeOf("Midi\n  Source\n    Seq\n      Out2.0\n    Tone\n      x\n    Gone\n      y\n"));
  EXPECT_THROW(refresh({}), std::out_of_range);
  EXPECT_THROW(refresh({}), std::out_of_range);
  EXPECT_THAT(refresh({"Midi", "Source", "Seq", "Out2.0", "zz"}),
              ElementsAre("sinks of 2.0", "sinks of 0.0"));  // the calls of those two, but each port once
}

TEST_F(RefreshCalls, MarksFollowTheMonitor) {
  const std::string bold = list("/Midi/Source/Seq/Out2.0") + list("/Midi/Source/Seq");
  EXPECT_EQ(bold.find("\033[7m"), std::string::npos);
  catCommand(shell, 0, "/Midi/Source/Seq/Out2.0");
  const std::string reverse = list("/Midi/Source/Seq/Out2.0") + list("/Midi/Source/Seq");
  EXPECT_NE(reverse.find("\033[7m\033[39m\033[1G+-- Out2.0/"), std::string::npos) << reverse;
  EXPECT_EQ(list("/Midi/Source/Seq/Out2.0") + list("/Midi/Source/Seq"), reverse);
  catCommand(shell, 0, "/Midi/Source/Seq/Out2.0");
  calls().clear();
  list("/Midi/Source/Seq");
  EXPECT_THAT(calls(), IsEmpty()) << "attached before";
  endCommand(shell);
  EXPECT_EQ(list("/Midi/Source/Seq/Out2.0") + list("/Midi/Source/Seq"), bold);
  EXPECT_EQ(list("/Midi/Source/Seq/Out2.0") + list("/Midi/Source/Seq"), bold);
}

TEST_F(RefreshCalls, APatternAsksForEachPortOnce) {
  calls().clear();
  list("/Midi/Source/*/*");
  EXPECT_EQ(calls(), Everything);
}

// The calls of a refresh that knows nothing, from the rule: a node is entered when its name is the next one of the
// filter, which it consumes, or when the filter is used up.
Calls callsOf(const TopologyNode& root, const PathComponents& filter) {
  Calls calls;
  std::size_t next = 0;
  const auto enters = [&](const TopologyNode& node) {
    if (next == filter.size()) return true;
    return node.name == filter[next] && ++next > 0;
  };
  for (const auto& type : root.children) {
    if (!enters(*type)) continue;
    for (std::size_t side = 0; side < type->children.size(); ++side) {
      const auto& groups = type->children[side]->children;
      if (!enters(*type->children[side])) continue;
      for (std::size_t group = 0; group < groups.size(); ++group) {
        if (!enters(*groups[group])) continue;
        const auto& ids = side == 1 ? recording::library().sinks : recording::library().sources;
        for (std::size_t port = 0; port < groups[group]->children.size(); ++port) {
          if (!enters(*groups[group]->children[port])) continue;
          calls.push_back((side == 1 ? "sources of " : "sinks of ") + std::to_string(ids[group].groupId) + "." +
                          std::to_string(port));
        }
      }
    }
  }
  return calls;
}

std::string outline(const TopologyNode& node) {
  std::string text = node.name + ":" + std::to_string(node.attributes);
  for (const auto& child : node.children) text += " (" + outline(*child) + ")";
  return text;
}

// Whatever the names, and however places and changes follow each other: a tree shows the same as one whose ports are
// asked for each time, and those are the ports of the rule.
TEST_F(RefreshCalls, ShowsTheSameAsARefreshThatAlwaysAsks) {
  TestShell asking{manager, false};
  setUpShell(asking);
  std::mt19937 random(5);
  const auto below = [&random](std::size_t bound) { return static_cast<std::uint16_t>(random() % bound); };
  const char* const names[] = {"Midi", "Source", "Sink", "Seq", "Tone", "Out2.0", "Out2.1", "In3.0", "zz"};
  auto& library = recording::library();
  std::size_t saved = 0;
  for (int turn = 0; turn < 5000; ++turn) {
    if (below(8) == 0) library.sinksOf["2." + std::to_string(below(3))] = {{3, below(2)}, {below(4), 0}};
    if (below(8) == 0) library.sourcesOf["3." + std::to_string(below(2))].push_back({2, below(3)});
    if (below(20) == 0) library.sourcesOf.clear();
    if (below(8) == 0) {
      const char* const name = names[below(std::size(names))];
      for (TestShell* each : {&shell, &asking}) {
        each->attached().contains(name) ? each->attached().remove(name) : each->attached().add(name);
      }
    }
    PathComponents filter{"Midi", names[1 + below(2)], names[3 + below(2)]};
    while (below(3) != 0) filter.emplace_back(names[below(std::size(names))]);
    filter.resize(std::min<std::size_t>(filter.size(), below(8)));

    const auto expected = callsOf(asking.tree(), filter);
    library.calls.clear();
    asking.refreshRound().patcher = nullptr;
    refreshTopology(asking, filter);
    ASSERT_EQ(library.calls, expected) << absolutePath(filter);
    saved += expected.size();
    saved -= refresh(filter).size();
    ASSERT_EQ(outline(shell.tree()), outline(asking.tree())) << absolutePath(filter) << " in turn " << turn;
  }
  EXPECT_GT(saved, 0U);
}

}  // namespace
}  // namespace flowscope
