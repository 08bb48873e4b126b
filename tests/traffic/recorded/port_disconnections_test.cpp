#include "traffic/port_connections.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tests/traffic/recorded/patching_fixture.h"

namespace flowscope {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Names = std::vector<std::string>;

class PortDisconnections : public Patching {
 protected:
  PortDisconnections() {
    recording::library().sinksOf["2.0"] = {{3, 0}, {3, 1}, {0, 0}, {50, 0}};
    recording::library().sinksOf["2.2"] = {{3, 1}};
    recording::library().sourcesOf["3.0"] = {{2, 0}, {0, 0}, {2, 1}};
    recording::library().sourcesOf["50.0"] = {{2, 0}};
  }
};

TEST_F(PortDisconnections, DisEndsConnectionsOfEachLevelOnEachSide) {
  const struct {
    PathComponents from;
    const char* source;
    Names calls;
  } rows[] = {
      {{},
       "/Midi/Source/Seq/Out2.0",
       {"sinks of 2.0", "unpatch 2.0 3.0", "unpatch 2.0 3.1", "unpatch 2.0 0.0", "unpatch 2.0 50.0"}},
      {{"Midi", "Source", "Seq"}, "Out2.2", {"sinks of 2.2", "unpatch 2.2 3.1"}},
      {{}, "/Midi/Source/Seq/Out2.1", {"sinks of 2.1"}},
      {{},
       "/Midi/Source/Seq",
       {"sinks of 2.0", "unpatch 2.0 3.0", "unpatch 2.0 3.1", "unpatch 2.0 0.0", "unpatch 2.0 50.0", "sinks of 2.1",
        "sinks of 2.2", "unpatch 2.2 3.1"}},
      {{}, "/Midi/Source/Silent", {}},
      // From the sink side the source stands first all the same.
      {{}, "/Midi/Sink/Tone/In3.0", {"sources of 3.0", "unpatch 2.0 3.0", "unpatch 0.0 3.0", "unpatch 2.1 3.0"}},
      {{},
       "/Midi/Sink",
       {"sources of 3.0", "unpatch 2.0 3.0", "unpatch 0.0 3.0", "unpatch 2.1 3.0", "sources of 3.1", "sources of 0.0",
        "sources of 50.0", "unpatch 2.0 50.0"}},
      // Below a port, only what the place names.
      {{}, "/Midi/Source/Seq/Out2.0/Tone", {"sinks of 2.0", "unpatch 2.0 3.0", "unpatch 2.0 3.1"}},
      {{}, "/Midi/Source/Seq/Out2.0/Tone/In3.1", {"sinks of 2.0", "unpatch 2.0 3.1"}},
      {{}, "/Midi/Source/Seq/Out2.0/Keys", {"sinks of 2.0", "unpatch 2.0 0.0"}},
      {{}, "/Midi/Sink/Tone/In3.0/Seq", {"sources of 3.0", "unpatch 2.0 3.0", "unpatch 2.1 3.0"}},
      {{}, "/Midi/Sink/Tone/In3.0/Seq/Out2.1", {"sources of 3.0", "unpatch 2.1 3.0"}},
  };
  for (const auto& row : rows) {
    shell.currentPath() = row.from;
    EXPECT_EQ(dis(row.source), ResultOk) << row.source;
    EXPECT_EQ(calls(), row.calls) << row.source;
    EXPECT_EQ(shell.printed(), "");
  }
}

TEST_F(PortDisconnections, PlacesThatNameNoPortsAreSilentAndNeverMeanMore) {
  for (const char* source :
       {"/Midi", "/Audio", "/Midi/Source/\\[]", "/Midi/Source/\\[]/Out50.0", "/Midi/Sink/\\[]", "/Midi/Sink/Keys/Gone",
        "/Midi/Source/Seq/Out2.0/\\[]", "/Midi/Source/Seq/Out2.0/\\[]/In50.0", "zz", "/", "["}) {
    EXPECT_EQ(dis(source), ResultSilent) << source;
    EXPECT_THAT(calls(), IsEmpty()) << source;
  }
  EXPECT_EQ(dis(nullptr), ResultSilent);
  EXPECT_EQ(dis(nullptr, "/Midi/Sink/Tone"), ResultSilent);
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(PortDisconnections, GroupsThatTheDeviceDoesNotListAreOutOfRange) {
  EXPECT_THROW(dis("/Midi/Source/Panel/Out1.0"), std::out_of_range);
  EXPECT_THROW(dis("/Midi/Source/Panel"), std::out_of_range);
  EXPECT_THROW(dis("/Midi/Sink/Seq"), std::out_of_range);
  EXPECT_EQ(dis("/Midi/Sink/Seq/In2.0"), ResultSilent);
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(PortDisconnections, PathsThatCannotBeResolvedChangeNothing) {
  for (const char* path : {"", "~", "~/Source"}) {
    EXPECT_THROW(dis(path), std::out_of_range) << path;
    EXPECT_THROW(dis("/Midi/Source/Seq", path), std::out_of_range) << path;
  }
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(PortDisconnections, WithoutAPatcherNothingHappens) {
  shell.removePatcher();
  EXPECT_EQ(dis("/Midi/Source/Seq"), ResultSilent);
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(PortDisconnections, ADestinationNarrowsNothing) {
  EXPECT_EQ(dis("/Midi/Source/Seq/Out2.0", "/Midi/Sink/Keys"), ResultOk);
  const Names once = {"sinks of 2.0", "unpatch 2.0 3.0", "unpatch 2.0 3.1", "unpatch 2.0 0.0", "unpatch 2.0 50.0"};
  EXPECT_EQ(calls(), once);
  EXPECT_EQ(dis("/Midi/Source/Seq/Out2.0", "zz"), ResultOk);
  EXPECT_EQ(calls(), once);
  // It says how often each source is gone through.
  EXPECT_EQ(dis("/Midi/Source/Seq/Out2.[12]", "/Midi/Sink/Tone/*"), ResultOk);
  EXPECT_THAT(calls(), ElementsAre("sinks of 2.1", "sinks of 2.1", "sinks of 2.2", "unpatch 2.2 3.1", "sinks of 2.2",
                                   "unpatch 2.2 3.1"));
}

TEST_F(PortDisconnections, ResultIsThatOfTheLastPlace) {
  EXPECT_EQ(dis("/Midi/Sink/Keys/*"), ResultSilent);
  EXPECT_THAT(calls(), ElementsAre("sources of 0.0"));
  EXPECT_EQ(dis("/Midi/Source/[SK]e*"), ResultOk);
}

}  // namespace
}  // namespace flowscope
