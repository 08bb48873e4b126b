#include "topology/refresh.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "evtsrv.h"
#include "strmsrv.h"
#include "terminal/styled_text.h"
#include "tests/support/fakes.h"
#include "tests/support/memory_stream.h"
#include "topology/group_name.h"

namespace flowscope {
namespace {

constexpr std::uint16_t PortsPerSide = 3;

// Two groups with names and two without one.
constexpr const char* Device =
    "[[group]]\nid = 1\nname = \"A\"\nsources = 3\nsinks = 3\n"
    "[[group]]\nid = 2\nname = \"B\"\nsources = 3\nsinks = 3\n"
    "[[group]]\nid = 50\nname = \"C\"\nsources = 3\nsinks = 3\n"
    "[[group]]\nid = 51\nname = \"D\"\nsources = 3\nsinks = 3\n";
constexpr std::uint16_t GroupIds[] = {1, 2, 50, 51};

class Shell : public TopologyShell {
 public:
  ConsoleOutput& output() override { return console_; }
  TopologyNode& tree() override { return *root; }
  PathComponents& currentPath() override { return current_; }
  void pathChanged() override {}
  StrmSrv::Patcher* patcher() override { return &patch; }
  AttachedList& attached() override { return attached_; }
  RefreshRound& refreshRound() override { return round_; }

  // A tree that no refresh has seen.
  std::unique_ptr<TopologyNode> freshTree() const {
    auto fresh = std::make_unique<TopologyNode>("/");
    auto& midi = fresh->addChild("Midi");
    for (const int sink : {0, 1}) {
      auto& side = midi.addChild(sink == 0 ? "Source" : "Sink");
      for (const auto& record : sink == 0 ? patch.sourceGroups() : patch.sinkGroups()) {
        auto& group = side.addChild(groupName(record.groupId));
        for (std::uint16_t port = 0; port < record.portCount; ++port) {
          group.addChild(patch.makeStreamPortName(0, record.groupId, port, sink));
        }
      }
    }
    return fresh;
  }

 private:
  class DeviceFile {
   public:
    DeviceFile() {
      std::ofstream(path_) << Device;
      ::setenv("EVTSRV_ENDPOINT", ("embedded:" + path_.string()).c_str(), 1);
    }
    DeviceFile(const DeviceFile&) = delete;
    DeviceFile& operator=(const DeviceFile&) = delete;
    ~DeviceFile() { std::filesystem::remove(path_); }

   private:
    std::filesystem::path path_ =
        std::filesystem::temp_directory_path() / ("refresh-" + std::to_string(::getpid()) + ".toml");
  };

  DeviceFile file_;
  test::MemoryStream out_;
  test::FixedSize size_;
  test::ScriptedKeys keys_;
  ConsoleOutput console_{out_.stream(), size_, keys_, true};
  PathComponents current_;
  AttachedList attached_;
  RefreshRound round_;
  EvtSrv::EventPortManager manager_{EvtSrv::ConBehave_Void, true};

 public:
  StrmSrv::Patcher patch{manager_, 0};
  std::unique_ptr<TopologyNode> root = freshTree();
};

// The names below a node, each node's own in brackets behind it.
std::string outline(const TopologyNode& node) {
  std::string text = node.name;
  if (node.children.empty()) return text;
  text += '(';
  for (const auto& child : node.children) text += outline(*child) + ' ';
  text.back() = ')';
  return text;
}

const TopologyNode& portAt(const Shell& shell, const char* side, std::size_t group, std::size_t port) {
  return *shell.root->children[0]->findChild(side)->children.at(group)->children.at(port);
}

TEST(Refresh, FollowsEachChangeOfAPort) {
  struct Step {
    bool made;
    std::uint16_t sinkGroup;
    std::uint16_t sinkPort;
    const char* shown;
  };
  const Step steps[] = {
      {true, 2, 0, "AOut1(B(BIn1))"},
      {true, 50, 1, "AOut1(B(BIn1) [](CIn2))"},
      {true, 2, 2, "AOut1(B(BIn1 BIn3) [](CIn2))"},
      {true, 51, 1, "AOut1(B(BIn1 BIn3) [](CIn2 DIn2))"},
      {false, 50, 1, "AOut1(B(BIn1 BIn3) [](DIn2))"},
      {true, 50, 0, "AOut1(B(BIn1 BIn3) [](DIn2 CIn1))"},
      {false, 2, 0, "AOut1(B(BIn3) [](DIn2 CIn1))"},
      {true, 2, 0, "AOut1(B(BIn3 BIn1) [](DIn2 CIn1))"},
      {false, 2, 3, "AOut1(B(BIn3 BIn1) [](DIn2 CIn1))"},
      {false, 2, 0, "AOut1(B(BIn3) [](DIn2 CIn1))"},
      {false, 2, 2, "AOut1([](DIn2 CIn1))"},
      {true, 2, 1, "AOut1([](DIn2 CIn1) B(BIn2))"},
      {false, 51, 1, "AOut1([](CIn1) B(BIn2))"},
      {false, 50, 0, "AOut1(B(BIn2))"},
      {false, 2, 1, "AOut1"},
  };
  Shell shell;
  for (const Step& step : steps) {
    if (step.made) {
      shell.patch.connect(1, 0, step.sinkGroup, step.sinkPort);
    } else {
      shell.patch.disconnect(1, 0, step.sinkGroup, step.sinkPort);
    }
    refreshTopology(shell, {});
    EXPECT_EQ(outline(portAt(shell, "Source", 0, 0)), step.shown);
  }
}

// However many refreshes a tree has seen, it shows what one that is built now would.
TEST(Refresh, AnOldTreeShowsTheSameAsANewOne) {
  Shell shell;
  std::mt19937 random(4);
  const auto below = [&random](std::size_t bound) { return static_cast<std::uint16_t>(random() % bound); };
  for (int turn = 0; turn < 400; ++turn) {
    for (auto changes = below(4); changes > 0; --changes) {
      const auto source = GroupIds[below(2)];
      const auto sink = GroupIds[below(std::size(GroupIds))];
      const auto sourcePort = below(PortsPerSide);
      const auto sinkPort = below(PortsPerSide);
      const auto done = shell.patch.connect(source, sourcePort, sink, sinkPort);
      ASSERT_EQ(done, StrmSrv::StrmRes_Success);
      if (below(2) == 0) shell.patch.disconnect(source, below(PortsPerSide), sink, sinkPort);
    }
    refreshTopology(shell, {});
    auto compared = shell.freshTree();
    shell.root.swap(compared);
    refreshTopology(shell, {});
    shell.root.swap(compared);
    ASSERT_EQ(outline(*shell.root), outline(*compared)) << "turn " << turn;
  }
}

// Nodes are told apart by a colour, which new ones do not have.
TEST(Refresh, APortWithoutAChangeKeepsItsNodes) {
  Shell shell;
  ASSERT_EQ(shell.patch.connect(1, 0, 2, 0), StrmSrv::StrmRes_Success);
  ASSERT_EQ(shell.patch.connect(1, 1, 2, 0), StrmSrv::StrmRes_Success);
  refreshTopology(shell, {});
  portAt(shell, "Source", 0, 0).children.front()->colour = ColourBlue;
  portAt(shell, "Source", 0, 1).children.front()->colour = ColourBlue;
  ASSERT_EQ(shell.patch.connect(1, 1, 51, 0), StrmSrv::StrmRes_Success);
  refreshTopology(shell, {});
  EXPECT_EQ(portAt(shell, "Source", 0, 0).children.front()->colour, ColourBlue);
  EXPECT_EQ(portAt(shell, "Source", 0, 1).children.front()->colour, ColourDefault);
}

}  // namespace
}  // namespace flowscope
