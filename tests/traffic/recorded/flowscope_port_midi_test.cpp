#include "traffic/flowscope_port_midi.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include "tests/traffic/event_bytes.h"
#include "tests/traffic/recorded/recording_library.h"
#include "tests/traffic/test_shell.h"

namespace flowscope {
namespace {

class FlowScopePortMIDITest : public testing::Test {
 protected:
  FlowScopePortMIDITest() { recording::reset(); }

  EvtSrv::EventResult receive(TestShell& shell, const EventBytes& event, unsigned type = EvtSrv::EvtTyp_Debug_Receive) {
    EvtSrv::MemoryHolder holder = event.holder();
    return shell.monitor().receiveMain("SeqOut1", type, &holder, nullptr);
  }

  // What a quiet shell prints for one message: each piece as a line.
  std::string lines(TextForm form, const Bytes& message, std::uint16_t group = 1) {
    TestShell shell(manager);
    shell.monitor().setLabelled(form == TextForm::Labelled);
    trafficOutput().trafficMode = TrafficScreen;
    EXPECT_EQ(receive(shell, EventBytes().record(group, message)), EvtSrv::EvtRes_Success);
    return shell.printed();
  }

  EvtSrv::EventPortManager manager{EvtSrv::ConBehave_Default, true};
};

TEST_F(FlowScopePortMIDITest, PrintsEveryKindInBothForms) {
  const struct {
    Bytes message;
    const char* labelled;
    const char* raw;
  } cases[] = {
      {{0x80, 0x3C, 0x40}, "SeqOut1) note off :note= 0x3C :velocity= 0x40 :grpId= 0x01\n\n", "0x80 0x3C 0x40 0x01\n\n"},
      {{0x90, 0x3C, 0x40}, "SeqOut1) note on  :note= 0x3C :velocity= 0x40 :grpId= 0x01\n\n", "0x90 0x3C 0x40 0x01\n\n"},
      {{0xA0, 0x3C, 0x40}, "SeqOut1) poly after :note= 0x3C :value= 0x40 :grpId= 0x01\n\n", "0xA0 0x3C 0x40 0x01\n\n"},
      {{0xB0, 0x07, 0x40},
       "SeqOut1) control change :number= 0x07 :value= 0x40 :grpId= 0x01\n\n",
       "0xB0 0x07 0x40 0x01\n\n"},
      {{0xC0, 0x07}, "SeqOut1) program change :number= 0x07 :grpId= 0x01\n\n", "0xC0 0x07 0x01\n\n"},
      {{0xD0, 0x07}, "SeqOut1) after touch :value= 0x07 :grpId= 0x01\n\n", "0xD0 0x07 0x01\n\n"},
      {{0xE0, 0x01, 0x40}, "SeqOut1) pitch bend :lsb= 0x01 msb= 0x40 :grpId= 0x01\n\n", "0xE0 0x01 0x40 0x01\n\n"},
      {{0xF8}, "SeqOut1) real time message :data= 0xF8 :grpId= 0x01\n\n", "0xF8 0x01\n\n"},
      {{0xFF}, "SeqOut1) real time message :data= 0xFF :grpId= 0x01\n\n", "0xFF 0x01\n\n"},
      {{0x91, 0x3C, 0x40}, "SeqOut1) errdata =  0x91 0x3C 0x40\n\n", ""},
      {{0x3C, 0x40}, "SeqOut1) errdata =  0x3C 0x40\n\n", ""},
      {{0x90, 0x3C}, "SeqOut1) errdata =  0x90 0x3C\n\n", ""},
      {{0xF4}, "SeqOut1) errdata =  0xF4\n\n", ""},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(lines(TextForm::Labelled, each.message), each.labelled);
    EXPECT_EQ(lines(TextForm::Raw, each.message), each.raw);
  }
}

TEST_F(FlowScopePortMIDITest, PrintsLongMessagesInPieces) {
  EXPECT_EQ(lines(TextForm::Labelled, {0xF0, 0x7E, 0xF7}, 2),
            "SeqOut1) system exclusive :length= 3 :\n0xF0 \n0x7E \n0xF7 \n: groupId=0x02\n\n");
  EXPECT_EQ(lines(TextForm::Labelled, {0xF7}, 2), "SeqOut1) system exclusive :length= 1 :\n0xF7 \n: groupId=0x02\n\n");
  EXPECT_EQ(lines(TextForm::Labelled, {0xF2, 0x01}, 2),
            "SeqOut1) system coomon :length= 2 : \n0xF2 \n0x01 \n: grpId=0x02\n\n");
  EXPECT_EQ(lines(TextForm::Labelled, {0xFF, 0x51, 0x03}, 2),
            "SeqOut1) system exclusive :length= 3 : \n: grpId=0x02\n\n");
}

TEST_F(FlowScopePortMIDITest, PrintsALargeSystemExclusiveWhole) {
  Bytes message(70'000, 0x11);
  message.front() = 0xF0;
  message.back() = 0xF7;
  const std::string printed = lines(TextForm::Labelled, message);
  EXPECT_TRUE(printed.starts_with("SeqOut1) system exclusive :length= 70000 :\n0xF0 \n0x11 \n"));
  EXPECT_TRUE(printed.ends_with("0x11 \n0xF7 \n: groupId=0x01\n\n"));
  EXPECT_EQ(std::count(printed.begin(), printed.end(), '\n'), 70'003);
}

TEST_F(FlowScopePortMIDITest, EveryPieceStandsAtTheFirstColumnOfATerminal) {
  TestShell shell(manager, false);
  shell.monitor().setLabelled(true);
  trafficOutput().trafficMode = TrafficScreen;
  receive(shell, EventBytes().record(1, {0xF0, 0xF7}).record(1, {0xF8}));
  EXPECT_EQ(shell.printed(),
            "\x1b[39m\x1b[1GSeqOut1) system exclusive :length= 2 :"
            "\x1b[39m\x1b[1G0xF0 \x1b[39m\x1b[1G0xF7 \x1b[39m\x1b[1G: groupId=0x01\n"
            "\x1b[39m\x1b[1GSeqOut1) real time message :data= 0xF8 :grpId= 0x01\n");
}

TEST_F(FlowScopePortMIDITest, HandlersPrintMessagesWithoutBytes) {
  TestShell shell(manager);
  trafficOutput().trafficMode = TrafficScreen;
  shell.monitor().setLabelled(true);
  shell.monitor().handleSystemExclusive("p", nullptr, 0, 1);
  shell.monitor().handleSystemCommon("p", nullptr, 0, 1);
  shell.monitor().handleMetaEvent("p", nullptr, 0, 1);
  shell.monitor().handleErrorData("p", nullptr, 0, 1);
  EXPECT_EQ(shell.printed(),
            "p) system exclusive :length= 0 :\n: groupId=0x01\n\n"
            "p) system coomon :length= 0 : \n: grpId=0x01\n\n"
            "p) system exclusive :length= 0 : \n: grpId=0x01\n\n"
            "p) errdata = \n\n");
  shell.monitor().setLabelled(false);
  shell.monitor().handleSystemExclusive("p", nullptr, 0, 1);
  shell.monitor().handleSystemCommon("p", nullptr, 0, 2);
  shell.monitor().handleMetaEvent("p", nullptr, 0, 3);
  shell.monitor().handleErrorData("p", nullptr, 0, 4);
  EXPECT_EQ(shell.printed(), "0x01\n\n0x02\n\n0x03\n\n");
}

TEST_F(FlowScopePortMIDITest, ReadsBothByteOrders) {
  for (const bool bigEndian : {false, true}) {
    TestShell shell(manager);
    trafficOutput().trafficMode = TrafficScreen;
    EXPECT_EQ(receive(shell, EventBytes(bigEndian).record(0x0102, {0x90, 1, 2}).record(3, {0xC0, 4})),
              EvtSrv::EvtRes_Success);
    EXPECT_EQ(shell.printed(), "0x90 0x01 0x02 0x102\n\n0xC0 0x04 0x03\n\n");
  }
}

TEST_F(FlowScopePortMIDITest, EndsAtAMalformedRecord) {
  TestShell shell(manager);
  trafficOutput().trafficMode = TrafficScreen;
  EXPECT_EQ(receive(shell, EventBytes().record(1, {0xF8}).word(2).half(1).record(1, {0xFA})),
            EvtSrv::EvtRes_UnknownError);
  EXPECT_EQ(shell.printed(), "0xF8 0x01\n\n");
  EXPECT_EQ(receive(shell, EventBytes().record(1, {0xFB}).word(100).half(1).raw({0x90})), EvtSrv::EvtRes_UnknownError);
  EXPECT_EQ(shell.printed(), "0xFB 0x01\n\n");
}

TEST_F(FlowScopePortMIDITest, IgnoresOtherEvents) {
  TestShell shell(manager);
  trafficOutput().trafficMode = TrafficScreen;
  EXPECT_EQ(receive(shell, EventBytes().record(1, {0xF8}), EvtSrv::EvtTyp_Debug_Receive + 1), EvtSrv::EvtRes_Success);
  EXPECT_EQ(receive(shell, EventBytes().word(0), 0), EvtSrv::EvtRes_Success);
  EXPECT_EQ(shell.printed(), "");
  EXPECT_THAT(recording::library().calls, testing::IsEmpty());
}

// What would end the program in another mode stands in the event, too.
TEST_F(FlowScopePortMIDITest, HandlesNothingWhileTrafficIsOff) {
  TestShell shell(manager);
  EXPECT_EQ(receive(shell, EventBytes().record(1, {0x90, 1, 2}).record(1, {0xF0, 0xF7}).record(1, {0xFF, 1})),
            EvtSrv::EvtRes_Success);
  shell.monitor().setLabelled(true);
  EXPECT_EQ(receive(shell, EventBytes().record(1, {0x91, 1, 2})), EvtSrv::EvtRes_Success);
  EXPECT_EQ(shell.printed(), "");
}

TEST_F(FlowScopePortMIDITest, IsRawAtFirst) { EXPECT_FALSE(TestShell(manager).monitor().labelled()); }

using FlowScopePortMIDIDeathTest = FlowScopePortMIDITest;

TEST_F(FlowScopePortMIDIDeathTest, RawFormEndsTheProgramOnMessagesOfAnyLength) {
  for (const Bytes& message : {Bytes{0xF0, 0x7E, 0xF7}, Bytes{0xF7}, Bytes{0xF1, 1}, Bytes{0xF2, 1, 2}, Bytes{0xF3, 1},
                               Bytes{0xF6}, Bytes{0xFF, 0x2F, 0}}) {
    EXPECT_EXIT(lines(TextForm::Raw, message), testing::KilledBySignal(SIGABRT),
                "\\*\\*\\* buffer overflow detected \\*\\*\\*: terminated")
        << int{message[0]};
  }
}

}  // namespace
}  // namespace flowscope
