// The monitor on the embedded service with the built-in device: real ports, real messages.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <functional>

#include "tests/traffic/test_shell.h"
#include "traffic/monitor_attachment.h"

namespace flowscope {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

// Set before the first service of the process is made.
const bool EndpointSet = setenv("EVTSRV_ENDPOINT", "embedded:", 1) == 0;

constexpr const char* Device =
    "Midi\n"
    "  Source\n"
    "    Keyboard\n"
    "      KeyboardOut1\n"
    "      NoSuchPort\n"
    "    Panel\n"
    "      PanelOut1\n"
    "    Sequencer\n"
    "      SequencerOut1\n"
    "      SequencerOut2\n"
    "  Sink\n"
    "    ToneGenerator\n"
    "      ToneGeneratorIn1\n";

class LiveMonitor : public testing::Test {
 protected:
  LiveMonitor() {
    trafficOutput().monitorTarget = EvtSrv::DebugPortName;
    shell.setTree(treeOf(Device));
    shell.renewPatcher();
    for (const char* port : {"KeyboardOut1", "PanelOut1"}) {
      EXPECT_EQ(sender.connect(port, EvtSrv::DebugPortName, nullptr, nullptr, EvtSrv::ConBehave_Void),
                EvtSrv::EvtRes_Success);
    }
  }

  // Takes events until the text printed so far satisfies done; answers that text.
  std::string printedUntil(const std::function<bool(const std::string&)>& done) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    std::string text;
    while (!done(text) && std::chrono::steady_clock::now() < deadline) {
      manager.receiveEvent(100);
      text += shell.printed();
    }
    return text;
  }

  std::string printedUntil(const std::string& part) {
    return printedUntil([&part](const std::string& text) { return text.find(part) != std::string::npos; });
  }

  EvtSrv::EventPortManager manager{EvtSrv::ConBehave_Default, true};
  TestShell shell{manager};
  StrmSrv::StreamPortMIDI sender{manager};
};

TEST_F(LiveMonitor, ShowsMessagesThatPassAPort) {
  ASSERT_TRUE(EndpointSet);
  EXPECT_EQ(catCommand(shell, LabelledOption, "/Midi/Source/Keyboard/KeyboardOut1"), ResultOk);
  EXPECT_THAT(shell.attached(), ElementsAre("KeyboardOut1"));
  EXPECT_EQ(sender.sendNoteOn(0x3C, 0x40, 1), StrmSrv::StrmRes_Success);
  EXPECT_EQ(sender.sendNoteOff(0x3C, 0x00, 0x102), StrmSrv::StrmRes_Success);
  const std::string text = printedUntil("note off");
  EXPECT_THAT(text, HasSubstr("KeyboardOut1) note on  :note= 0x3C :velocity= 0x40 :grpId= 0x01\n"));
  EXPECT_THAT(text, HasSubstr("KeyboardOut1) note off :note= 0x3C :velocity= 0x00 :grpId= 0x102\n"));
  EXPECT_LT(text.find("note on"), text.find("note off"));
}

TEST_F(LiveMonitor, MessagesOfAPortThatIsAttachedTwiceAreSeenOnce) {
  EXPECT_EQ(catCommand(shell, 0, "/Midi/Source/Keyboard/KeyboardOut1"), ResultOk);
  EXPECT_EQ(catCommand(shell, 0, "/Midi/Source/Keyboard/KeyboardOut1"), ResultOk);
  // The message goes out through both ports of the sender, and only one of them is attached.
  sender.sendControlChange(7, 1, 0);
  sender.sendControlChange(7, 2, 0);
  EXPECT_EQ(printedUntil("0xB0 0x07 0x02"), "0xB0 0x07 0x01 0x00\n\n0xB0 0x07 0x02 0x00\n\n");
}

TEST_F(LiveMonitor, EndStopsTheMonitor) {
  EXPECT_EQ(catCommand(shell, 0, "/Midi/Source/Keyboard/KeyboardOut1"), ResultOk);
  sender.sendAfterTouch(1, 0);
  EXPECT_THAT(printedUntil("0xD0 0x01"), HasSubstr("0xD0 0x01 0x00\n"));
  EXPECT_EQ(endCommand(shell), ResultOk);
  EXPECT_THAT(shell.attached(), IsEmpty());
  sender.sendAfterTouch(2, 0);
  // What is attached now comes after what would have come from before, and under its own name.
  EXPECT_EQ(catCommand(shell, LabelledOption, "/Midi/Source/Panel/PanelOut1"), ResultOk);
  sender.sendAfterTouch(3, 0);
  const std::string text = printedUntil("value= 0x03");
  EXPECT_THAT(text, HasSubstr("PanelOut1) after touch :value= 0x03"));
  EXPECT_THAT(text, Not(HasSubstr("KeyboardOut1")));
}

TEST_F(LiveMonitor, OnePortMayBeDetached) {
  EXPECT_EQ(catCommand(shell, LabelledOption, "/Midi/Source/Keyboard/KeyboardOut1"), ResultOk);
  EXPECT_EQ(catCommand(shell, LabelledOption, "/Midi/Source/Panel/PanelOut1"), ResultOk);
  EXPECT_EQ(detachPort(shell, "/Midi/Source/Keyboard/KeyboardOut1"), EvtSrv::EvtRes_Success);
  EXPECT_THAT(shell.attached(), ElementsAre("PanelOut1"));
  sender.sendAfterTouch(3, 0);
  const std::string text = printedUntil("value= 0x03");
  EXPECT_THAT(text, HasSubstr("PanelOut1) after touch :value= 0x03"));
  EXPECT_THAT(text, Not(HasSubstr("KeyboardOut1")));
}

TEST_F(LiveMonitor, APortThatTheDeviceDoesNotHaveIsNotAttached) {
  EXPECT_EQ(catCommand(shell, 0, "/Midi/Source/Keyboard/NoSuchPort"), ResultConnectError);
  EXPECT_THAT(shell.attached(), IsEmpty());
}

TEST_F(LiveMonitor, AttachesBelowTheCurrentDirectory) {
  const struct {
    PathComponents from;
    std::size_t ports;
    const char* first;
  } cases[] = {
      {{"Midi", "Source"}, 12, "KeyboardOut1"},
      {{"Midi", "Sink"}, 14, "PanelIn1"},
      {{"Midi", "Source", "Sequencer"}, 4, "SequencerOut1"},
      {{"Midi", "Source", "Sequencer", "SequencerOut2"}, 1, "SequencerOut2"},
      {{"Midi", "Sink", "ToneGenerator"}, 4, "ToneGeneratorIn1"},
  };
  for (const auto& each : cases) {
    shell.currentPath() = each.from;
    EXPECT_EQ(attachBelowCurrent(shell), ResultOk);
    EXPECT_THAT(shell.attached(), SizeIs(each.ports)) << absolutePath(each.from);
    ASSERT_FALSE(shell.attached().empty());
    EXPECT_EQ(shell.attached().front(), each.first);
    detachAll(shell);
  }
}

TEST_F(LiveMonitor, ShowsMessagesOfTheSequencer) {
  shell.currentPath() = {"Midi", "Source", "Sequencer"};
  EXPECT_EQ(catCommand(shell, LabelledOption, "*"), ResultOk);
  // The phrase may have begun long ago, so the first message may be either.
  const std::string text = printedUntil([](const std::string& printed) {
    const std::size_t on = printed.find("SequencerOut1) note on  :note= 0x");
    return on != std::string::npos && printed.find("SequencerOut1) note off :note= 0x", on) != std::string::npos;
  });
  EXPECT_THAT(text, HasSubstr("SequencerOut1) note on  :note= 0x"));
  EXPECT_THAT(text.substr(text.find("note on")), HasSubstr("SequencerOut1) note off :note= 0x"));
}

}  // namespace
}  // namespace flowscope
