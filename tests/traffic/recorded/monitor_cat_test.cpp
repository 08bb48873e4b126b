// What cat attaches.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/traffic/recorded/attachment_fixture.h"
#include "tests/traffic/temporary_file.h"

namespace flowscope {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(MonitorAttachment, CatWithoutAnArgumentAttachesTheCurrentDirectory) {
  go({"Midi", "Source", "Keys"});
  EXPECT_EQ(catCommand(shell, LabelledOption, nullptr), ResultOk);
  EXPECT_THAT(shell.attached(), ElementsAre("Out0.0"));
  EXPECT_TRUE(shell.monitor().labelled());
  EXPECT_EQ(trafficOutput().trafficMode, TrafficScreen);

  // Attached already: only the form and the mode change.
  trafficOutput().trafficMode = TrafficScreenAndFile;
  go({"Midi", "Source", "Seq"});
  calls().clear();
  EXPECT_EQ(catCommand(shell, 0, nullptr), ResultOk);
  EXPECT_THAT(calls(), IsEmpty());
  EXPECT_THAT(shell.attached(), ElementsAre("Out0.0"));
  EXPECT_FALSE(shell.monitor().labelled());
  EXPECT_EQ(trafficOutput().trafficMode, TrafficScreen);
  EXPECT_EQ(shell.printed(), "");
}

TEST_F(MonitorAttachment, CatOutsideOfStreamsChangesTheModesToo) {
  EXPECT_EQ(catCommand(shell, LabelledOption, nullptr), ResultBadArgument);
  EXPECT_TRUE(shell.monitor().labelled());
  EXPECT_EQ(trafficOutput().trafficMode, TrafficScreen);
}

TEST_F(MonitorAttachment, CatWithAPatternAttachesEachMatch) {
  go({"Midi", "Source", "Seq"});
  EXPECT_EQ(catCommand(shell, 0, "*"), ResultOk);
  EXPECT_EQ(catCommand(shell, 0, "Out2.1"), ResultOk);
  EXPECT_EQ(calls(), connectsOf({"Out2.0", "Out2.1", "Out2.2"}));
  EXPECT_EQ(catCommand(shell, 0, "~/Sink/*/In3.[0]"), ResultOk);
  EXPECT_THAT(shell.attached(), ElementsAre("Out2.0", "Out2.1", "Out2.2", "In3.0"));
}

TEST_F(MonitorAttachment, CatTwiceConnectsOnce) {
  EXPECT_EQ(catCommand(shell, 0, "/Midi/Source/Seq/Out2.0"), ResultOk);
  EXPECT_EQ(catCommand(shell, 0, "/Midi/Source/Seq/Out2.0"), ResultOk);
  EXPECT_EQ(calls(), connectsOf({"Out2.0"}));
}

TEST_F(MonitorAttachment, CatAnswersTheResultOfTheLastMatch) {
  recording::library().connectResults["Out2.0"] = EvtSrv::EvtRes_NotFound;
  EXPECT_EQ(catCommand(shell, 0, "/Midi/Source/Seq/*"), ResultOk);
  EXPECT_THAT(shell.attached(), ElementsAre("Out2.1", "Out2.2"));
  detachAll(shell);
  recording::library().connectResults["Out2.2"] = EvtSrv::EvtRes_NoService;
  EXPECT_EQ(catCommand(shell, 0, "/Midi/Source/Seq/*"), ResultConnectError);
  EXPECT_THAT(shell.attached(), ElementsAre("Out2.1"));
}

TEST_F(MonitorAttachment, CatOfAPlaceThatIsNoPortIsAConnectError) {
  EXPECT_EQ(catCommand(shell, 0, "/Midi/Source/Seq"), ResultConnectError);
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(MonitorAttachment, CatThatMatchesNothingPrintsNothing) {
  EXPECT_EQ(catCommand(shell, LabelledOption, "zz*"), ResultSilent);
  EXPECT_EQ(catCommand(shell, LabelledOption, "/"), ResultSilent);
  EXPECT_EQ(catCommand(shell, LabelledOption, "["), ResultSilent);
  EXPECT_EQ(shell.printed(), "");
  EXPECT_THAT(calls(), IsEmpty());
  EXPECT_TRUE(shell.monitor().labelled());
  EXPECT_EQ(trafficOutput().trafficMode, TrafficScreen);
}

TEST_F(MonitorAttachment, CatOfATextThatIsNoPathChangesNothing) {
  for (const char* pattern : {"", "~", "~/x"}) {
    EXPECT_THROW(catCommand(shell, LabelledOption, pattern), std::out_of_range) << pattern;
  }
  EXPECT_FALSE(shell.monitor().labelled());
  EXPECT_EQ(trafficOutput().trafficMode, TrafficOff);
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(MonitorAttachment, CatLeavesAnOpenFileOpenAndUnwritten) {
  const TemporaryFile file;
  trafficOutput().trafficFile.open(file.name());
  trafficOutput().trafficMode = TrafficScreenAndFile;
  EXPECT_EQ(catCommand(shell, 0, "/Midi/Source/Seq/Out2.0"), ResultOk);
  const EventBytes event = EventBytes().record(1, {0xF8});
  EvtSrv::MemoryHolder holder = event.holder();
  shell.monitor().receiveMain("Out2.0", EvtSrv::EvtTyp_Debug_Receive, &holder, nullptr);
  EXPECT_TRUE(trafficOutput().trafficFile.isOpen());
  EXPECT_EQ(shell.printed(), "0xF8 0x01\n\n");
  // "end" closes it although the mode is the screen's alone.
  EXPECT_EQ(endCommand(shell), ResultOk);
  EXPECT_FALSE(trafficOutput().trafficFile.isOpen());
  EXPECT_EQ(file.content(), "");
}

}  // namespace
}  // namespace flowscope
