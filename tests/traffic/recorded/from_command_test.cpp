#include "traffic/from_command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "tests/traffic/recorded/recorded_fixture.h"
#include "tests/traffic/temporary_file.h"
#include "traffic/message_formatter.h"
#include "traffic/traffic_output.h"

namespace flowscope {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Names = std::vector<std::string>;

constexpr const char* PlayedDevice =
    "Midi\n"
    "  Source\n"
    "    Seq\n"
    "      Out2.0\n"
    "      Out2.1\n"
    "      Out2.2\n";

class FromCommand : public RecordedTest {
 protected:
  FromCommand() : RecordedTest({{{2, 3}}, {}, PlayedDevice}) {
    shell.currentPath() = {"Midi", "Source", "Seq", "Out2.0"};
  }

  // What a file with this content sends at the current directory.
  Names play(const std::string& content) {
    const TemporaryFile file(content);
    calls().clear();
    EXPECT_EQ(fromCommand(shell, file.name(), nullptr), ResultOk);
    Names sent;
    for (const std::string& call : calls()) {
      if (call.starts_with("send ")) sent.push_back(call.substr(5));
    }
    return sent;
  }
};

TEST_F(FromCommand, SendsEachKindOfMessage) {
  EXPECT_THAT(play("0x80 1 2 3\n"
                   "0x90 4 5 6\n"
                   "0xA0 7 8 9\n"
                   "0xB0 10 11 12\n"
                   "0xC0 13 14 15 16\n"
                   "0xD0 17 18\n"
                   "0xE0 19 20 0x102\n"
                   "0xF0 0x7E 0x7F 0xF7 0x02\n"),
              ElementsAre("note off 1 2 to 3", "note on 4 5 to 6", "poly after 7 8 to 9", "control change 10 11 to 12",
                          "program change 13 14 15 to 16", "after touch 17 to 18", "pitch bend 19 20 to 258",
                          "system exclusive 240 126 127 247 to 2"));
}

TEST_F(FromCommand, ReadsLinesOneByOne) {
  EXPECT_THAT(play("0x91 0x3C 0x40 0x01 0xD0 1 2\n\n144 60\n64 1\nnothing here\n144 60 64 1"),
              ElementsAre("note on 60 64 to 1", "after touch 1 to 2", "note on 60 64 to 1"));
}

TEST_F(FromCommand, AttachesAndSendsNothingForAnEmptyFile) {
  EXPECT_THAT(play(""), IsEmpty());
  EXPECT_THAT(calls(), ElementsAre("connect Out2.0 DebugPort 1004"));
}

TEST_F(FromCommand, ReadsALongLineInPieces) {
  // The first 1023 characters end inside the group of the first message.
  const std::string start = "0x90 1 2 3";
  const std::string padding(1023 - start.size(), ' ');
  EXPECT_THAT(play(padding + start + "4 0xD0 5 6\n"), ElementsAre("note on 1 2 to 3", "after touch 5 to 6"));
  // A system exclusive does not go on in the next piece.
  std::string exclusive = "0xF0";
  while (exclusive.size() < 1023) exclusive += " 1";
  EXPECT_THAT(play(exclusive + " 0xF7 2\n0xD0 5 6\n"), ElementsAre("after touch 5 to 6"));
  // But it may be as long as a piece.
  const Names longest = play(exclusive.substr(0, 1015) + " 0xF7 2\n");
  ASSERT_EQ(longest.size(), 1U);
  EXPECT_TRUE(longest.front().ends_with(" 1 1 247 to 2"));
}

TEST_F(FromCommand, EndsALineAtAZeroByte) {
  EXPECT_THAT(play(std::string("144 1 2 3 \0 144 4 5 6\n144 7 8 9\n", 32)),
              ElementsAre("note on 1 2 to 3", "note on 7 8 to 9"));
}

TEST_F(FromCommand, DoesNotPlayProgramChangesAsToWritesThem) {
  const TemporaryFile log;
  const ChannelMessage message{ChannelKind::ProgramChange, 5, 0, 1};
  TextPiece text;
  const std::string line(formatChannelMessage(text, message, "Out2.0", TextForm::Raw));
  EXPECT_EQ(line, "0xC0 0x05 0x01\n");
  EXPECT_THAT(play(line), IsEmpty());
}

TEST_F(FromCommand, IgnoresTheResultsOfSending) {
  for (const auto result : {StrmSrv::StrmRes_Success, StrmSrv::StrmRes_NoService, StrmSrv::StrmRes_BadArgument}) {
    recording::library().sendResult = result;
    EXPECT_THAT(play("0xD0 1 2\n0xD0 3 4\n"), ElementsAre("after touch 1 to 2", "after touch 3 to 4"));
  }
}

TEST_F(FromCommand, SendsTheFileOnceForEachMatch) {
  const TemporaryFile file("0xD0 1 2\n");
  EXPECT_EQ(fromCommand(shell, file.name(), "../Out2.[12]"), ResultOk);
  EXPECT_THAT(calls(), ElementsAre("connect Out2.1 DebugPort 1004", "send after touch 1 to 2",
                                   "connect Out2.2 DebugPort 1004", "send after touch 1 to 2"));
  EXPECT_THAT(shell.attached(), ElementsAre("Out2.1", "Out2.2"));
  EXPECT_EQ(trafficOutput().trafficMode, TrafficOff);
}

TEST_F(FromCommand, ReturnsTheResultOfTheLastMatch) {
  const TemporaryFile file("0xD0 1 2\n");
  recording::library().connectResults["Out2.1"] = EvtSrv::EvtRes_NotFound;
  EXPECT_EQ(fromCommand(shell, file.name(), "../Out2.[12]"), ResultOk);
  EXPECT_THAT(calls(),
              ElementsAre("connect Out2.1 DebugPort 1004", "connect Out2.2 DebugPort 1004", "send after touch 1 to 2"));
  EXPECT_EQ(fromCommand(shell, file.name(), "../Out2.[01]"), ResultConnectError);
}

TEST_F(FromCommand, SendsNothingToPortsThatCannotBeAttached) {
  const TemporaryFile file("0xD0 1 2\n");
  EXPECT_EQ(fromCommand(shell, nullptr, nullptr), ResultBadArgument);
  EXPECT_EQ(fromCommand(shell, file.name(), "zz*"), ResultSilent);
  EXPECT_EQ(fromCommand(shell, file.name(), "/"), ResultSilent);
  EXPECT_EQ(fromCommand(shell, file.name(), "/Midi/Source/Seq"), ResultConnectError);
  shell.currentPath().clear();
  EXPECT_EQ(fromCommand(shell, file.name(), nullptr), ResultBadArgument);
  for (const char* pattern : {"", "~", "~/x"}) {
    EXPECT_THROW(fromCommand(shell, file.name(), pattern), std::out_of_range) << pattern;
  }
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(FromCommand, AttachesThePortEvenIfTheFileCannotBeRead) {
  EXPECT_EQ(fromCommand(shell, "/nowhere/at/all", nullptr), ResultOpenFileError);
  EXPECT_THAT(shell.attached(), ElementsAre("Out2.0"));
  EXPECT_EQ(fromCommand(shell, "/", nullptr), ResultOpenFileError);
  EXPECT_THAT(calls(), ElementsAre("connect Out2.0 DebugPort 1004"));
}

}  // namespace
}  // namespace flowscope
