// The tree that a shell builds of a device.
#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/flowscope_shell.h"
#include "tests/core/device_shell.h"

namespace flowscope {
namespace {

using test::DeviceShell;
using Names = std::vector<std::string>;

Names namesOf(const TopologyNode& node) {
  Names names;
  for (const auto& child : node.children) names.push_back(child->name);
  return names;
}

const TopologyNode& nodeAt(TopologyNode& root, const Names& path) {
  const TopologyNode* node = &root;
  for (const auto& name : path) {
    node = node->findChild(name);
    if (node == nullptr) throw std::runtime_error("no node " + name);
  }
  return *node;
}

TEST(FlowScopeShell, HasTheTreeOfTheBuiltInDevice) {
  DeviceShell device;
  TopologyNode& root = device.shell->tree();
  EXPECT_EQ(root.name, "/");
  EXPECT_EQ(namesOf(root), (Names{"Midi", "Audio", "Control"}));
  EXPECT_EQ(namesOf(nodeAt(root, {"Midi"})), (Names{"Source", "Sink"}));
  EXPECT_EQ(namesOf(nodeAt(root, {"Audio"})), Names{});
  EXPECT_EQ(namesOf(nodeAt(root, {"Midi", "Source"})),
            (Names{"Keyboard", "Panel", "Sequencer", "Arpeggiator", "MidiDin", "MidiUsb", "Clock", "Thru"}));
  EXPECT_EQ(namesOf(nodeAt(root, {"Midi", "Sink"})),
            (Names{"Panel", "Sequencer", "Arpeggiator", "ToneGenerator", "MidiDin", "MidiUsb", "Thru"}));
  EXPECT_EQ(namesOf(nodeAt(root, {"Midi", "Source", "Sequencer"})),
            (Names{"SequencerOut1", "SequencerOut2", "SequencerOut3", "SequencerOut4"}));
  EXPECT_EQ(namesOf(nodeAt(root, {"Midi", "Sink", "MidiUsb"})), (Names{"MidiUsbIn1", "MidiUsbIn2"}));
  EXPECT_EQ(nodeAt(root, {"Midi", "Sink", "MidiUsb", "MidiUsbIn2"}).children.size(), 0U);
}

TEST(FlowScopeShell, GroupsStandInTheDevicesOrderAndWithoutANameAsBrackets) {
  DeviceShell device(R"(
[[group]]
id = 42
name = "Late"
sources = 1

[[group]]
id = 7
name = "Zebra"
sources = 2
sinks = 0

[[group]]
id = 3
name = "Ant"
sources = 1

[[group]]
id = 65535
name = "Last"
sources = 1
)");
  TopologyNode& root = device.shell->tree();
  EXPECT_EQ(namesOf(nodeAt(root, {"Midi", "Source"})), (Names{"[]", "Zebra", "Ant", "[]"}));
  EXPECT_EQ(namesOf(nodeAt(root, {"Midi", "Source", "[]"})), Names{"LateOut1"});
  EXPECT_EQ(namesOf(nodeAt(root, {"Midi", "Sink"})), Names{"Zebra"});
  EXPECT_EQ(namesOf(nodeAt(root, {"Midi", "Sink", "Zebra"})), Names{});
}

TEST(FlowScopeShell, HasAnEmptyTreeWithoutAService) {
  ::setenv("EVTSRV_ENDPOINT", "nonsense://", 1);
  testing::internal::CaptureStderr();
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Void, true);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("nonsense://"), std::string::npos);
  test::Surroundings around;
  FlowScope shell(manager, true, around.io);
  shell.init(manager);
  EXPECT_EQ(namesOf(nodeAt(shell.tree(), {"Midi", "Source"})), Names{});
  EXPECT_EQ(namesOf(nodeAt(shell.tree(), {"Midi", "Sink"})), Names{});
}

}  // namespace
}  // namespace flowscope
