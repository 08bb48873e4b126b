#include "topology/listing.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "evtsrv.h"
#include "strmsrv.h"
#include "tests/support/fakes.h"
#include "tests/support/memory_stream.h"
#include "topology/group_name.h"
#include "topology/refresh.h"

namespace flowscope {
namespace {

using Names = std::vector<std::string>;

constexpr unsigned NoOption = 0;

// A shell on the built-in device, with the tree that a real one builds.
class Shell : public TopologyShell {
 public:
  explicit Shell(bool quiet) : console(out.stream(), size, keys, quiet) {
    root.name = "/";
    auto& midi = root.addChild("Midi");
    auto& source = midi.addChild("Source");
    auto& sink = midi.addChild("Sink");
    root.addChild("Audio");
    for (const auto& group : patch.sourceGroups()) addGroup(source, group, 0);
    for (const auto& group : patch.sinkGroups()) addGroup(sink, group, 1);
  }

  ConsoleOutput& output() override { return console; }
  TopologyNode& tree() override { return root; }
  PathComponents& currentPath() override { return current; }
  void pathChanged() override {}
  StrmSrv::Patcher* patcher() override { return &patch; }
  AttachedList& attached() override { return attachedNames; }
  RefreshRound& refreshRound() override { return round_; }

  test::MemoryStream out;
  test::FixedSize size;
  test::ScriptedKeys keys;
  ConsoleOutput console;
  TopologyNode root;
  PathComponents current;
  AttachedList attachedNames;
  RefreshRound round_;

 private:
  void addGroup(TopologyNode& side, const StrmSrv::GroupRecord& record, int sink) {
    auto& group = side.addChild(groupName(record.groupId));
    for (std::uint16_t port = 0; port < record.portCount; ++port) {
      group.addChild(patch.makeStreamPortName(0, record.groupId, port, sink));
    }
  }

  struct Environment {
    Environment() { ::setenv("EVTSRV_ENDPOINT", "embedded:", 1); }
  } environment;
  EvtSrv::EventPortManager manager{EvtSrv::ConBehave_Void, true};

 public:
  StrmSrv::Patcher patch{manager, 0};
};

Names namesOf(const TopologyNode& node) {
  Names names;
  for (const auto& child : node.children) names.push_back(child->name);
  return names;
}

TopologyNode& nodeAt(Shell& shell, const PathComponents& path) { return findNode(path, shell.root); }

class Listing : public testing::Test {
 protected:
  std::string list(unsigned options, const char* path) {
    code = listCommand(shell, options, path);
    return shell.out.take();
  }

  Shell shell{true};
  ResultCode code = 0;
};

TEST_F(Listing, CurrentDirectoryStartsWithoutAnEmptyLine) {
  EXPECT_EQ(list(NoOption, nullptr), "Midi   \n\nAudio  \n\n");
  EXPECT_EQ(code, ResultOk);
}

TEST_F(Listing, APathStartsWithAnEmptyLineAndOneMatchHasNoHeader) {
  EXPECT_EQ(list(NoOption, "Midi"), "\nSource  \n\nSink    \n\n");
  EXPECT_EQ(code, ResultOk);
}

TEST_F(Listing, SeveralMatchesHaveHeaders) {
  EXPECT_EQ(list(NoOption, "*"), "\n/Midi:\nSource  \n\nSink    \n\n\n/Audio:\n");
  EXPECT_EQ(code, ResultOk);
}

TEST_F(Listing, TheRootAsAPathMatchesNothing) {
  for (const char* path : {"/", "..", "nowhere", "["}) {
    EXPECT_EQ(list(NoOption, path), "") << path;
    EXPECT_EQ(code, ResultSilent) << path;
  }
}

TEST_F(Listing, TreeShowsLiveConnections) {
  const auto sequencer = list(TreeListing, "/Midi/Sink/ToneGenerator");
  EXPECT_EQ(sequencer,
            "\n"
            "+-- ToneGeneratorIn1/\n\033[22m"
            "    +-- Keyboard/\n"
            "        +-- KeyboardOut1  \n"
            "    +-- Sequencer/\n"
            "        +-- SequencerOut1  \n"
            "+-- ToneGeneratorIn2/\n\033[22m"
            "    +-- Sequencer/\n"
            "        +-- SequencerOut2  \n"
            "+-- ToneGeneratorIn3\n"
            "+-- ToneGeneratorIn4\n");
  EXPECT_EQ(shell.patch.connect(2, 2, 4, 3), StrmSrv::StrmRes_Success);
  EXPECT_NE(list(TreeListing, "/Midi/Sink/ToneGenerator")
                .find("+-- ToneGeneratorIn4/\n\033[22m    +-- Sequencer/\n        +-- SequencerOut3  \n"),
            std::string::npos);
  EXPECT_EQ(shell.patch.disconnect(2, 2, 4, 3), StrmSrv::StrmRes_Success);
  // A port that has lost its connections keeps its mark.
  EXPECT_EQ(list(TreeListing, "/Midi/Sink/ToneGenerator"), sequencer + "\033[22m");
}

TEST_F(Listing, APortTwiceInOneGroupShowsTheGroupOnce) {
  ASSERT_EQ(shell.patch.connect(2, 0, 4, 1), StrmSrv::StrmRes_Success);
  refreshTopology(shell, {});
  const auto& port = nodeAt(shell, {"Midi", "Source", "Sequencer", "SequencerOut1"});
  EXPECT_EQ(namesOf(port), Names{"ToneGenerator"});
  EXPECT_EQ(namesOf(*port.children.front()), (Names{"ToneGeneratorIn1", "ToneGeneratorIn2"}));
}

TEST_F(Listing, AttachedAndConnectedPortsAreMarked) {
  shell.attachedNames.add("SequencerOut1");
  refreshTopology(shell, {});
  EXPECT_EQ(nodeAt(shell, {"Midi", "Source", "Sequencer", "SequencerOut1"}).attributes, AttrReverse);
  EXPECT_EQ(nodeAt(shell, {"Midi", "Source", "Sequencer", "SequencerOut2"}).attributes, AttrBold);
  EXPECT_EQ(nodeAt(shell, {"Midi", "Source", "Sequencer", "SequencerOut3"}).attributes, 0U);
}

TEST_F(Listing, APortThatLostItsConnectionsKeepsItsMark) {
  refreshTopology(shell, {});
  ASSERT_EQ(shell.patch.disconnect(2, 1, 4, 1), StrmSrv::StrmRes_Success);
  refreshTopology(shell, {});
  const auto& port = nodeAt(shell, {"Midi", "Source", "Sequencer", "SequencerOut2"});
  EXPECT_TRUE(port.children.empty());
  EXPECT_EQ(port.attributes, AttrBold);
}

// What the filter does not name is skipped up to the place that it names; behind that, everything is refreshed.
TEST_F(Listing, RefreshSkipsPlacesBeforeTheFilterAndNoneBehind) {
  refreshTopology(shell, {"Midi", "Source", "Sequencer", "SequencerOut1"});
  EXPECT_TRUE(nodeAt(shell, {"Midi", "Source", "Keyboard", "KeyboardOut1"}).children.empty());
  EXPECT_FALSE(nodeAt(shell, {"Midi", "Source", "Sequencer", "SequencerOut1"}).children.empty());
  EXPECT_FALSE(nodeAt(shell, {"Midi", "Source", "Sequencer", "SequencerOut2"}).children.empty());
  EXPECT_FALSE(nodeAt(shell, {"Midi", "Source", "MidiUsb", "MidiUsbOut1"}).children.empty());
  EXPECT_FALSE(nodeAt(shell, {"Midi", "Sink", "ToneGenerator", "ToneGeneratorIn1"}).children.empty());
}

TEST_F(Listing, AGroupBeyondTheListIsOutOfRange) {
  nodeAt(shell, {"Midi", "Source"}).addChild("Extra");
  EXPECT_THROW(refreshTopology(shell, {}), std::out_of_range);
}

TEST_F(Listing, OtherOptionsHaveNoEffect) {
  const auto plain = list(NoOption, "/Midi/Source/Sequencer/*");
  EXPECT_EQ(list(0x4, "/Midi/Source/Sequencer/*"), plain);
  EXPECT_EQ(list(0x8, "/Midi/Source/Sequencer/*"), plain);
}

TEST_F(Listing, APlaceThatIsNotThereIsSilent) {
  EXPECT_EQ(listPath(shell, NoOption, "/Midi/nowhere", true), ResultSilent);
  EXPECT_EQ(shell.out.take(), "");
}

TEST_F(Listing, APlaceWithoutChildrenPrintsNothingMore) {
  EXPECT_EQ(list(NoOption, "Audio"), "\n");
  EXPECT_EQ(code, ResultOk);
}

class PagedListingOf : public testing::Test {
 protected:
  std::string list(unsigned options, const char* path, const std::string& typed, int rows) {
    shell.size.rowCount = rows;
    shell.keys.type(typed);
    code = listCommand(shell, options, path);
    return shell.out.take();
  }

  Shell shell{false};
  ResultCode code = 0;
};

TEST_F(PagedListingOf, StoppingTheCurrentDirectoryIsSilent) {
  const auto printed = list(TreeListing | PagedListing, nullptr, "q", 5);
  EXPECT_EQ(code, ResultSilent);
  EXPECT_NE(printed.find("More"), std::string::npos);
}

TEST_F(PagedListingOf, StoppingTheSecondOfThreeMatchesIsASuccess) {
  // An empty line, the header and one row for each match; the sixth line is the second match's row.
  const auto printed = list(PagedListing, "/Midi/Sink/*r", "q", 7);
  EXPECT_EQ(code, ResultOk);
  EXPECT_EQ(shell.keys.reads, 1);
  EXPECT_NE(printed.find("SequencerIn1"), std::string::npos) << printed;
  EXPECT_TRUE(
      printed.ends_with("/Midi/Sink/Arpeggiator:\n"
                        "\033[7m\033[5m\033[39mMore\033[27m\033[25m\033[2K"))
      << printed;
  const auto all = list(PagedListing, "/Midi/Sink/*r", "", 24);
  EXPECT_NE(all.find("/Midi/Sink/ToneGenerator:\n"), std::string::npos) << all;
}

TEST_F(PagedListingOf, StoppingInFrontOfAHeaderIsASuccess) {
  const auto printed = list(PagedListing, "/Midi/Sink/*r", "q", 6);
  EXPECT_EQ(code, ResultOk);
  EXPECT_EQ(printed.find("/Midi/Sink/Arpeggiator:"), std::string::npos) << printed;
}

TEST_F(PagedListingOf, StoppingInFrontOfAMatchIsASuccess) {
  const auto printed = list(PagedListing, "*", "q", 3);
  EXPECT_EQ(code, ResultOk);
  EXPECT_EQ(printed.find("/Audio:"), std::string::npos);
}

TEST_F(PagedListingOf, WithoutTheOptionNothingStops) {
  const auto printed = list(TreeListing, nullptr, "q", 3);
  EXPECT_EQ(code, ResultOk);
  EXPECT_EQ(printed.find("More"), std::string::npos);
}

}  // namespace
}  // namespace flowscope
