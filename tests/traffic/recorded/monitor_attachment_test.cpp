#include "traffic/monitor_attachment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/traffic/recorded/attachment_fixture.h"

namespace flowscope {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Names = std::vector<std::string>;

TEST_F(MonitorAttachment, AttachesOnePort) {
  const struct {
    PathComponents from;
    const char* path;
    EvtSrv::EventResult result;
    const char* name;
  } cases[] = {
      {{}, "/Midi/Source/Seq/Out2.1", EvtSrv::EvtRes_Success, "Out2.1"},
      {{}, "Midi/Sink/Tone/In3.0", EvtSrv::EvtRes_Success, "In3.0"},
      {{"Midi", "Source", "Seq"}, "Out2.2", EvtSrv::EvtRes_Success, "Out2.2"},
      {{"Midi", "Source", "Seq"}, "../Keys/Out0.0", EvtSrv::EvtRes_Success, "Out0.0"},
      {{"Midi", "Source", "Seq"}, "~/Sink/Tone/In3.1", EvtSrv::EvtRes_Success, "In3.1"},
      {{"Midi"}, "/Midi/Source/Seq/Out2.0/Tone/In3.1", EvtSrv::EvtRes_Success, "In3.1"},
      // Deeper than a port, the current directory counts as the port.
      {{"Midi", "Source", "Seq", "Out2.0", "Tone", "In3.1"}, "../Out2.2", EvtSrv::EvtRes_Success, "Out2.2"},
      {{"Midi", "Source", "Seq", "Out2.0"}, nullptr, EvtSrv::EvtRes_Success, "Out2.0"},
      {{"Midi", "Source", "Seq", "Out2.0", "Tone", "In3.1"}, nullptr, EvtSrv::EvtRes_Success, "Out2.0"},
      // No ports.
      {{}, "/Midi/Source/Seq/zz", EvtSrv::EvtRes_DoNothing, nullptr},
      {{}, "/Midi/Source/Seq", EvtSrv::EvtRes_DoNothing, nullptr},
      {{}, "/", EvtSrv::EvtRes_DoNothing, nullptr},
      {{"Midi", "Source", "Seq"}, nullptr, EvtSrv::EvtRes_DoNothing, nullptr},
      {{}, nullptr, EvtSrv::EvtRes_DoNothing, nullptr},
  };
  for (const auto& each : cases) {
    shell.attached().clear();
    calls().clear();
    go(each.from);
    EXPECT_EQ(attach(each.path), each.result);
    const Names names = each.name == nullptr ? Names{} : Names{each.name};
    EXPECT_EQ(shell.attached(), names);
    EXPECT_EQ(calls(), connectsOf(names));
  }
}

TEST_F(MonitorAttachment, ConnectsOnce) {
  EXPECT_EQ(attach("/Midi/Source/Seq/Out2.1"), EvtSrv::EvtRes_Success);
  EXPECT_EQ(attach("/Midi/Source/Seq/Out2.0"), EvtSrv::EvtRes_Success);
  EXPECT_EQ(attach("/Midi/Source/Seq/Out2.1"), EvtSrv::EvtRes_Success);
  EXPECT_THAT(shell.attached(), ElementsAre("Out2.1", "Out2.0"));
  EXPECT_EQ(calls(), connectsOf({"Out2.1", "Out2.0"}));
}

TEST_F(MonitorAttachment, AFailedConnectLeavesTheListAlone) {
  attach("/Midi/Source/Seq/Out2.0");
  recording::library().connectResults["Out2.1"] = EvtSrv::EvtRes_NoService;
  EXPECT_EQ(attach("/Midi/Source/Seq/Out2.1"), EvtSrv::EvtRes_NoService);
  EXPECT_THAT(shell.attached(), ElementsAre("Out2.0"));
}

// The mutex is not recursive: had the call kept it, the next one would wait forever.
TEST_F(MonitorAttachment, ReleasesTheMutex) {
  recording::library().connectResults["Out2.1"] = EvtSrv::EvtRes_NoService;
  attach("/Midi/Source/Seq/Out2.1");
  attach("/Midi/Source/Seq/Out2.0");
  detachPort(shell, "/Midi/Source/Seq/Out2.0");
  detachAll(shell);
  detachAll(shell);
  const std::lock_guard<KSTD::KThreadMutex> lock(shell.attachMutex());
  EXPECT_THAT(shell.attached(), IsEmpty());
}

TEST_F(MonitorAttachment, AttachesBelowTheCurrentDirectory) {
  const struct {
    PathComponents from;
    ResultCode result;
    Names names;
  } cases[] = {
      {{}, ResultBadArgument, {}},
      {{"Midi"}, ResultBadArgument, {}},
      {{"Audio"}, ResultBadArgument, {}},
      {{"Midi", "Source"}, ResultOk, {"Out2.0", "Out2.1", "Out2.2", "Out0.0", "Out50.0"}},
      {{"Midi", "Sink"}, ResultOk, {"In3.0", "In3.1"}},
      {{"Midi", "Source", "Seq"}, ResultOk, {"Out2.0", "Out2.1", "Out2.2"}},
      {{"Midi", "Source", "Keys"}, ResultOk, {"Out0.0"}},
      {{"Midi", "Sink", "Tone"}, ResultOk, {"In3.0", "In3.1"}},
      {{"Midi", "Source", "Silent"}, ResultOk, {}},
      {{"Midi", "Source", "[]"}, ResultBadArgument, {}},
      {{"Midi", "Source", "[]", "Out50.0"}, ResultBadArgument, {}},
      {{"Midi", "Source", "Seq", "Out2.1"}, ResultOk, {"Out2.1"}},
      {{"Midi", "Sink", "Tone", "In3.1"}, ResultOk, {"In3.1"}},
      {{"Midi", "Source", "Seq", "Out2.0", "Tone"}, ResultOk, {"Out2.0"}},
      {{"Midi", "Source", "Seq", "Out2.0", "Tone", "In3.1"}, ResultOk, {"Out2.0"}},
  };
  for (const auto& each : cases) {
    shell.attached().clear();
    calls().clear();
    go(each.from);
    EXPECT_EQ(attachBelowCurrent(shell), each.result) << absolutePath(each.from);
    EXPECT_EQ(shell.attached(), each.names) << absolutePath(each.from);
    EXPECT_EQ(calls(), connectsOf(each.names)) << absolutePath(each.from);
  }
}

TEST_F(MonitorAttachment, ASideWithoutGroupsAttachesNothing) {
  recording::library().sinks.clear();
  shell.renewPatcher();
  go({"Midi", "Sink"});
  EXPECT_EQ(attachBelowCurrent(shell), ResultOk);
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(MonitorAttachment, ResultsOfThePortsOfAGroupAreIgnored) {
  recording::library().connectResults["Out2.1"] = EvtSrv::EvtRes_NotFound;
  go({"Midi", "Source", "Seq"});
  EXPECT_EQ(attachBelowCurrent(shell), ResultOk);
  EXPECT_THAT(shell.attached(), ElementsAre("Out2.0", "Out2.2"));
}

TEST_F(MonitorAttachment, ResultOfTheCurrentPortIsReturned) {
  recording::library().connectResults["Out2.1"] = EvtSrv::EvtRes_NotFound;
  go({"Midi", "Source", "Seq", "Out2.1"});
  EXPECT_EQ(attachBelowCurrent(shell), ResultConnectError);
  EXPECT_THAT(shell.attached(), IsEmpty());
}

TEST_F(MonitorAttachment, AGroupThatTheDeviceDoesNotListIsOutOfRange) {
  for (const PathComponents& path :
       {PathComponents{"Midi", "Source", "Panel"}, {"Midi", "Source", "Panel", "Gone"}, {"Midi", "Sink", "Keys"}}) {
    go(path);
    EXPECT_THROW(attachBelowCurrent(shell), std::out_of_range) << absolutePath(path);
  }
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(MonitorAttachment, AttachesNothingBelowTheCurrentDirectoryWhenSomePortIsAttached) {
  attach("/Midi/Sink/Tone/In3.0");
  calls().clear();
  for (const PathComponents& path : {PathComponents{}, {"Midi", "Source"}, {"Midi", "Source", "Panel"}}) {
    go(path);
    EXPECT_EQ(attachBelowCurrent(shell), ResultOk);
  }
  EXPECT_THAT(shell.attached(), ElementsAre("In3.0"));
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(MonitorAttachment, WithoutAPatcherNothingIsAttached) {
  shell.removePatcher();
  go({"Midi", "Source"});
  EXPECT_EQ(attachBelowCurrent(shell), ResultSilent);
}

TEST_F(MonitorAttachment, EndDetachesAndSwitchesOff) {
  catCommand(shell, LabelledOption, "/Midi/Source/Seq/*");
  calls().clear();
  EXPECT_EQ(endCommand(shell), ResultOk);
  EXPECT_THAT(calls(), ElementsAre("disconnect (null)"));
  EXPECT_THAT(shell.attached(), IsEmpty());
  EXPECT_EQ(trafficOutput().trafficMode, TrafficOff);
  EXPECT_TRUE(shell.monitor().labelled());
}

TEST_F(MonitorAttachment, EndDisconnectsEvenIfNothingIsAttached) {
  recording::library().disconnectResult = EvtSrv::EvtRes_DoNothing;
  EXPECT_EQ(endCommand(shell), ResultOk);
  EXPECT_THAT(calls(), ElementsAre("disconnect (null)"));
}

TEST_F(MonitorAttachment, DetachesOnePort) {
  catCommand(shell, 0, "/Midi/Source/Seq/*");
  calls().clear();
  EXPECT_EQ(detachPort(shell, "/Midi/Source/Seq/Out2.1"), EvtSrv::EvtRes_Success);
  EXPECT_THAT(shell.attached(), ElementsAre("Out2.0", "Out2.2"));
  EXPECT_THAT(calls(), ElementsAre("disconnect Out2.1"));

  for (const char* path : {"/Midi/Source/Seq/Out2.1", "/Midi/Source/Seq/zz", "/Midi/Source/Seq", "/"}) {
    EXPECT_EQ(detachPort(shell, path), EvtSrv::EvtRes_DoNothing) << path;
  }
  EXPECT_THAT(calls(), ElementsAre("disconnect Out2.1"));

  recording::library().disconnectResult = EvtSrv::EvtRes_NoService;
  go({"Midi", "Source", "Seq"});
  EXPECT_EQ(detachPort(shell, "Out2.0"), EvtSrv::EvtRes_NoService);
  EXPECT_THAT(shell.attached(), ElementsAre("Out2.2"));
  EXPECT_THAT(calls(), ElementsAre("disconnect Out2.1", "disconnect Out2.0"));
}

}  // namespace
}  // namespace flowscope
