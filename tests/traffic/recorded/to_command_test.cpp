#include "traffic/to_command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "tests/traffic/event_bytes.h"
#include "tests/traffic/recorded/recorded_fixture.h"
#include "tests/traffic/temporary_file.h"
#include "traffic/monitor_attachment.h"

namespace flowscope {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr const char* LoggedDevice =
    "Midi\n"
    "  Source\n"
    "    Seq\n"
    "      Out2.0\n"
    "        Tone\n"
    "          In3.1\n"
    "      Out2.1\n"
    "      Out2.2\n"
    "  Sink\n";

class ToCommand : public RecordedTest {
 protected:
  ToCommand() : RecordedTest({{{2, 3}}, {}, LoggedDevice}, false) {}

  // A message arrives.
  void arrive(std::uint8_t value) {
    const EventBytes event = EventBytes().record(1, {0xD0, value});
    EvtSrv::MemoryHolder holder = event.holder();
    shell.monitor().receiveMain("Out2.0", EvtSrv::EvtTyp_Debug_Receive, &holder, nullptr);
  }

  TemporaryFile file{"old"};
};

TEST_F(ToCommand, WritesTheTextThatTheScreenShows) {
  EXPECT_EQ(toCommand(shell, file.name(), "/Midi/Source/Seq/Out2.0"), ResultOk);
  EXPECT_EQ(trafficOutput().trafficMode, TrafficScreenAndFile);
  EXPECT_EQ(file.content(), "");
  arrive(1);
  EXPECT_EQ(file.content(), "0xD0 0x01 0x01\n");
  EXPECT_EQ(shell.printed(), "\x1b[39m\x1b[1G0xD0 0x01 0x01\n");
  // Pieces of one message are written as they are printed.
  shell.monitor().setLabelled(true);
  const EventBytes event = EventBytes().record(2, {0xF0, 0x01, 0xF7});
  EvtSrv::MemoryHolder holder = event.holder();
  shell.monitor().receiveMain("Out2.0", EvtSrv::EvtTyp_Debug_Receive, &holder, nullptr);
  EXPECT_EQ(file.content(), "0xD0 0x01 0x01\nOut2.0) system exclusive :length= 3 :0xF0 0x01 0xF7 : groupId=0x02\n");
  EXPECT_EQ(endCommand(shell), ResultOk);
  EXPECT_FALSE(trafficOutput().trafficFile.isOpen());
  EXPECT_EQ(trafficOutput().trafficMode, TrafficOff);
}

TEST_F(ToCommand, WithoutAPatternAttachesTheCurrentDirectory) {
  shell.currentPath() = {"Midi", "Source", "Seq"};
  EXPECT_EQ(toCommand(shell, file.name(), nullptr), ResultOk);
  EXPECT_THAT(shell.attached(), ElementsAre("Out2.0", "Out2.1", "Out2.2"));
  arrive(1);
  EXPECT_EQ(file.content(), "0xD0 0x01 0x01\n");
  // The form stays as the last "cat" has set it.
  EXPECT_FALSE(shell.monitor().labelled());
}

TEST_F(ToCommand, WithoutAFileNameIsABadArgument) {
  EXPECT_EQ(toCommand(shell, nullptr, nullptr), ResultBadArgument);
  EXPECT_THAT(calls(), IsEmpty());
  EXPECT_EQ(trafficOutput().trafficMode, TrafficOff);
}

TEST_F(ToCommand, LeavesTheFileUnchangedIfAPortCannotBeAttached) {
  EXPECT_EQ(toCommand(shell, file.name(), "zz*"), ResultSilent);
  EXPECT_EQ(toCommand(shell, file.name(), "/"), ResultSilent);
  EXPECT_EQ(toCommand(shell, file.name(), "/Midi/Source/Seq"), ResultConnectError);
  recording::library().connectResults["Out2.1"] = EvtSrv::EvtRes_NotFound;
  EXPECT_EQ(toCommand(shell, file.name(), "/Midi/Source/Seq/Out2.1"), ResultConnectError);
  EXPECT_EQ(toCommand(shell, file.name(), nullptr), ResultBadArgument);
  for (const char* pattern : {"", "~", "~/x"}) {
    EXPECT_THROW(toCommand(shell, file.name(), pattern), std::out_of_range) << pattern;
  }
  EXPECT_EQ(file.content(), "old");
  EXPECT_FALSE(trafficOutput().trafficFile.isOpen());
  EXPECT_EQ(trafficOutput().trafficMode, TrafficOff);
  EXPECT_THAT(shell.attached(), IsEmpty());
}

TEST_F(ToCommand, LeavesTheMonitorAttachedIfTheFileCannotBeOpened) {
  EXPECT_EQ(toCommand(shell, "/nowhere/at/all", "/Midi/Source/Seq/Out2.0"), ResultOpenFileError);
  EXPECT_THAT(shell.attached(), ElementsAre("Out2.0"));
  EXPECT_EQ(trafficOutput().trafficMode, TrafficOff);
  catCommand(shell, 0, nullptr);
  EXPECT_EQ(toCommand(shell, "/nowhere/at/all", nullptr), ResultOpenFileError);
  EXPECT_EQ(trafficOutput().trafficMode, TrafficScreen);
}

TEST_F(ToCommand, KeepsShowingTrafficIfALaterFileCannotBeOpened) {
  EXPECT_EQ(toCommand(shell, file.name(), "/Midi/Source/Seq/Out2.0"), ResultOk);
  arrive(1);
  EXPECT_EQ(toCommand(shell, "/nowhere/at/all", nullptr), ResultOpenFileError);
  EXPECT_EQ(trafficOutput().trafficMode, TrafficScreenAndFile);
  shell.printed();
  arrive(2);
  EXPECT_EQ(shell.printed(), "\x1b[39m\x1b[1G0xD0 0x02 0x01\n");
  EXPECT_EQ(file.content(), "0xD0 0x01 0x01\n");
  EXPECT_EQ(endCommand(shell), ResultOk);
}

TEST_F(ToCommand, AttachesAllMatchesAndOpensTheFileForEach) {
  EXPECT_EQ(toCommand(shell, file.name(), "/Midi/Source/Seq/*"), ResultOk);
  EXPECT_THAT(shell.attached(), ElementsAre("Out2.0", "Out2.1", "Out2.2"));
  arrive(1);
  const std::string line = "0xD0 0x01 0x01\n";
  EXPECT_EQ(file.content(), line);
  // Only the last stream is written to, and closed in the end.
  EXPECT_THAT(file.positions(), UnorderedElementsAre(0U, 0U, line.size()));
  EXPECT_EQ(endCommand(shell), ResultOk);
  EXPECT_THAT(file.positions(), ElementsAre(0U, 0U));
}

TEST_F(ToCommand, ReturnsTheResultOfTheLastMatch) {
  recording::library().connectResults["Out2.1"] = EvtSrv::EvtRes_NotFound;
  EXPECT_EQ(toCommand(shell, file.name(), "/Midi/Source/Seq/*"), ResultOk);
  EXPECT_THAT(shell.attached(), ElementsAre("Out2.0", "Out2.2"));
  EXPECT_EQ(toCommand(shell, file.name(), "/Midi/Source/Seq/Out2.[01]"), ResultConnectError);
  // The first match has opened the file.
  arrive(1);
  EXPECT_EQ(file.content(), "0xD0 0x01 0x01\n");
}

TEST_F(ToCommand, EmptiesTheFileTheSecondTime) {
  EXPECT_EQ(toCommand(shell, file.name(), "/Midi/Source/Seq/Out2.0"), ResultOk);
  arrive(1);
  EXPECT_EQ(toCommand(shell, file.name(), nullptr), ResultOk);
  EXPECT_EQ(file.content(), "");
  arrive(2);
  EXPECT_EQ(file.content(), "0xD0 0x02 0x01\n");
}

TEST_F(ToCommand, IsStoppedByCatWhichLeavesTheFileOpen) {
  EXPECT_EQ(toCommand(shell, file.name(), "/Midi/Source/Seq/Out2.0"), ResultOk);
  arrive(1);
  EXPECT_EQ(catCommand(shell, 0, nullptr), ResultOk);
  shell.printed();
  arrive(2);
  EXPECT_EQ(shell.printed(), "\x1b[39m\x1b[1G0xD0 0x02 0x01\n");
  EXPECT_EQ(file.content(), "0xD0 0x01 0x01\n");
  EXPECT_TRUE(trafficOutput().trafficFile.isOpen());
  EXPECT_EQ(endCommand(shell), ResultOk);
  EXPECT_FALSE(trafficOutput().trafficFile.isOpen());
}

TEST_F(ToCommand, StartsANewPage) {
  shell.type("", 6);
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(shell.output().writeLine({0, 0, "line"}, true));
  EXPECT_EQ(toCommand(shell, file.name(), "/Midi/Source/Seq/Out2.0"), ResultOk);
  shell.printed();
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(shell.output().writeLine({0, 0, "line"}, true));
  EXPECT_THAT(shell.printed(), testing::Not(testing::HasSubstr("More")));
  // A "to" that fails does not.
  EXPECT_EQ(toCommand(shell, "/nowhere/at/all", nullptr), ResultOpenFileError);
  EXPECT_TRUE(shell.output().writeLine({0, 0, "line"}, true));
  EXPECT_THAT(shell.printed(), testing::HasSubstr("More"));
}

TEST_F(ToCommand, BelowAPortMatchesPatternsFromThePort) {
  shell.currentPath() = {"Midi", "Source", "Seq", "Out2.0", "Tone", "In3.1"};
  EXPECT_EQ(toCommand(shell, file.name(), "../Out2.2"), ResultOk);
  EXPECT_THAT(shell.attached(), ElementsAre("Out2.2"));
}

}  // namespace
}  // namespace flowscope
