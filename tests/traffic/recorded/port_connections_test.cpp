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
using testing::HasSubstr;
using testing::IsEmpty;
using Names = std::vector<std::string>;

class PortConnections : public Patching {};

TEST_F(PortConnections, ConnectsAPortToAPort) {
  EXPECT_EQ(con("/Midi/Source/Seq/Out2.1", "/Midi/Sink/Tone/In3.1"), ResultOk);
  EXPECT_EQ(shell.printed(), "connect /Midi/Source/Seq/Out2.1:/Midi/Sink/Tone/In3.1\n");
  EXPECT_THAT(calls(), ElementsAre("patch 2.1 3.1"));
}

TEST_F(PortConnections, PairsPlacesOfEveryLevel) {
  const struct {
    PathComponents from;
    const char* source;
    const char* destination;
    Names pairs;
  } rows[] = {
      // Groups of different sizes: only as many pairs as the smaller one has ports.
      {{}, "/Midi/Source/Seq", "/Midi/Sink/Tone", {"patch 2.0 3.0", "patch 2.1 3.1"}},
      {{}, "/Midi/Source/Keys", "/Midi/Sink/Tone", {"patch 0.0 3.0"}},
      {{}, "/Midi/Source/Silent", "/Midi/Sink/Tone", {}},
      // A side stands for all ports of all groups, those without a name too.
      {{}, "/Midi/Source", "/Midi/Sink", {"patch 2.0 3.0", "patch 2.1 3.1", "patch 2.2 0.0", "patch 0.0 50.0"}},
      {{}, "/Midi/Source/Seq/Out2.2", "/Midi/Sink", {"patch 2.2 3.0"}},
      {{}, "/Midi/Source", "/Midi/Sink/Tone/In3.1", {"patch 2.0 3.1"}},
      // Below a port the port counts.
      {{}, "/Midi/Source/Seq/Out2.0/Tone/In3.1", "/Midi/Sink/Keys", {"patch 2.0 0.0"}},
      {{}, "/Midi/Source/Seq/Out2.0/\\[]", "/Midi/Sink/Keys", {"patch 2.0 0.0"}},
      {{}, "/Midi/Source/Keys", "/Midi/Sink/Tone/In3.0/Seq", {"patch 0.0 3.0"}},
      // Relative paths.
      {{"Midi", "Source", "Seq"}, "Out2.1", "~/Sink/Keys/In0.0", {"patch 2.1 0.0"}},
      // Names of another stream type.
      {{}, "/Audio/Source/Seq/type1:Out2.1", "/Midi/Sink/Keys", {"patch 2.1 0.0"}},
      // Without a destination, the current directory.
      {{"Midi", "Sink", "Tone"}, "/Midi/Source/Seq/Out2.2", nullptr, {"patch 2.2 3.0"}},
      {{"Midi", "Sink", "Tone", "In3.1"}, "/Midi/Source/Seq", nullptr, {"patch 2.0 3.1"}},
  };
  for (const auto& row : rows) {
    shell.currentPath() = row.from;
    EXPECT_EQ(con(row.source, row.destination), ResultOk) << row.source;
    EXPECT_EQ(calls(), row.pairs) << row.source;
  }
}

TEST_F(PortConnections, PrintsEachPairOfPlaces) {
  EXPECT_EQ(con("/Midi/Source/Seq/Out2.[01]", "/Midi/Sink/Tone/*"), ResultOk);
  EXPECT_EQ(shell.printed(),
            "connect /Midi/Source/Seq/Out2.0:/Midi/Sink/Tone/In3.0\n"
            "connect /Midi/Source/Seq/Out2.0:/Midi/Sink/Tone/In3.1\n"
            "connect /Midi/Source/Seq/Out2.1:/Midi/Sink/Tone/In3.0\n"
            "connect /Midi/Source/Seq/Out2.1:/Midi/Sink/Tone/In3.1\n");
  EXPECT_THAT(calls(), ElementsAre("patch 2.0 3.0", "patch 2.0 3.1", "patch 2.1 3.0", "patch 2.1 3.1"));
}

TEST_F(PortConnections, ADestinationThatMatchesNothingIsTheCurrentDirectory) {
  shell.currentPath() = {"Midi", "Sink", "Tone"};
  EXPECT_EQ(con("/Midi/Source/Seq/Out2.[12]", "zz*"), ResultOk);
  EXPECT_EQ(shell.printed(), "connect /Midi/Source/Seq/Out2.1\nconnect /Midi/Source/Seq/Out2.2\n");
  EXPECT_THAT(calls(), ElementsAre("patch 2.1 3.0", "patch 2.2 3.0"));
}

TEST_F(PortConnections, ConWithoutWordsDoesNothing) {
  shell.currentPath() = {"Midi", "Sink"};
  EXPECT_EQ(con(nullptr), ResultSilent);
  EXPECT_EQ(con(nullptr, "/Midi/Sink"), ResultSilent);
  EXPECT_EQ(con("zz", "/Midi/Sink"), ResultSilent);
  EXPECT_EQ(con("/", "/Midi/Sink"), ResultSilent);
  EXPECT_EQ(con("[", "/Midi/Sink"), ResultSilent);
  EXPECT_EQ(shell.printed(), "");
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(PortConnections, WithoutAPatcherNothingHappens) {
  shell.removePatcher();
  EXPECT_EQ(con("/Midi/Source/Seq", "/Midi/Sink/Tone"), ResultSilent);
  EXPECT_EQ(shell.printed(), "");
}

TEST_F(PortConnections, PlacesThatNameNoPortsAreSilentAndNeverMeanMore) {
  const struct {
    const char* source;
    const char* destination;
  } rows[] = {
      {"/Midi", "/Midi/Sink"},                      // no side
      {"/Audio", "/Midi/Sink"},                     //
      {"/Midi/Source/\\[]", "/Midi/Sink"},          // a group without a name
      {"/Midi/Source/\\[]/Out50.0", "/Midi/Sink"},  //
      {"/Midi/Source", "/Midi"},                    //
      {"/Midi/Source", "/Midi/Sink/\\[]"},          //
      {"/Midi/Source", "/Midi/Sink/Keys/Gone"},     // a port that has gone
      {"/Midi/Source", "/Midi/Sink/Seq/In2.0"},     // a port of a group that has gone, on the sink side
      {"/Midi/Sink/\\[]", "/Midi/Sink"},            // before the sides are looked at
      {"/Midi/Sink/Tone", "/Midi/Sink/Keys/Gone"},  //
      {"/Midi/Source/Seq", "/Midi/Source/\\[]"},    //
  };
  for (const auto& row : rows) {
    EXPECT_EQ(con(row.source, row.destination), ResultSilent) << row.source << " " << row.destination;
    EXPECT_THAT(calls(), IsEmpty()) << row.source << " " << row.destination;
  }
  // The current directory as well.
  for (const PathComponents& from :
       {PathComponents{}, {"Midi"}, {"Midi", "Sink", "[]"}, {"Midi", "Sink", "Tone", "zz"}}) {
    shell.currentPath() = from;
    EXPECT_EQ(con("/Midi/Source/Seq"), ResultSilent) << absolutePath(from);
    EXPECT_THAT(calls(), IsEmpty());
  }
}

TEST_F(PortConnections, RefusesPairsThatAreNotSourceAndSink) {
  EXPECT_EQ(con("/Midi/Sink/Tone", "/Midi/Sink/Keys"), ResultBadArgument);
  EXPECT_EQ(con("/Midi/Source/Seq", "/Midi/Source/Keys"), ResultBadArgument);
  EXPECT_EQ(con("/Midi/Sink/Tone", "/Midi/Source/Seq"), ResultBadArgument);
  EXPECT_THAT(calls(), IsEmpty());
  // Another pair of places is connected all the same, and the last one decides.
  EXPECT_EQ(con("/Midi/Source/Keys", "/Midi/*/Tone"), ResultOk);
  EXPECT_THAT(calls(), ElementsAre("patch 0.0 3.0"));
}

TEST_F(PortConnections, ResultIsThatOfTheLastPair) {
  EXPECT_EQ(con("/Midi/*/Tone/*3.0", "/Midi/Sink/Keys"), ResultBadArgument);
  EXPECT_EQ(con("/Midi/*/Keys", "/Midi/Sink/Tone"), ResultBadArgument);
  EXPECT_THAT(calls(), ElementsAre("patch 0.0 3.0"));
  EXPECT_EQ(con("/Midi/Source/Seq/Out2.0", "/Midi/Sink/Keys/*"), ResultSilent);
  EXPECT_THAT(calls(), ElementsAre("patch 2.0 0.0"));
}

TEST_F(PortConnections, ARefusedPairEndsTheCommand) {
  recording::library().patchResults["2.1 3.1"] = StrmSrv::StrmRes_Refused;
  EXPECT_EQ(con("/Midi/Source/Seq", "/Midi/Sink"), ResultConnectError);
  EXPECT_THAT(calls(), ElementsAre("patch 2.0 3.0", "patch 2.1 3.1"));
  shell.printed();
  EXPECT_EQ(con("/Midi/Source/Seq/*", "/Midi/Sink/Tone/*"), ResultConnectError);
  EXPECT_THAT(calls(), ElementsAre("patch 2.0 3.0", "patch 2.0 3.1", "patch 2.1 3.0", "patch 2.1 3.1"));
  EXPECT_THAT(shell.printed(), testing::EndsWith("connect /Midi/Source/Seq/Out2.1:/Midi/Sink/Tone/In3.1\n"));
}

TEST_F(PortConnections, GroupsThatTheDeviceDoesNotListAreOutOfRange) {
  EXPECT_THROW(con("/Midi/Source/Panel/Out1.0", "/Midi/Sink"), std::out_of_range);
  EXPECT_THROW(con("/Midi/Source/Panel", "/Midi/Sink"), std::out_of_range);
  EXPECT_THROW(con("/Midi/Source", "/Midi/Sink/Seq"), std::out_of_range);
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(PortConnections, SidesAreCheckedBeforePorts) {
  EXPECT_EQ(con("/Midi/Source/Panel", "/Midi/Source/Seq"), ResultBadArgument);
  EXPECT_EQ(con("/Midi/Sink/Seq", "/Midi/Sink/Tone"), ResultBadArgument);
  EXPECT_EQ(con("/Midi/Source/Panel", "/Midi/Sink/\\[]"), ResultSilent);
  EXPECT_EQ(con("/Midi/Source/Panel"), ResultSilent);
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(PortConnections, PathsThatCannotBeResolvedChangeNothing) {
  for (const char* path : {"", "~", "~/Source"}) {
    EXPECT_THROW(con(path), std::out_of_range) << path;
    EXPECT_THROW(con("/Midi/Source/Seq", path), std::out_of_range) << path;
  }
  EXPECT_EQ(shell.printed(), "");
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(PortConnections, EnoughAtMoreStopsBeforeThatConnection) {
  TestShell interactive(manager, false);
  setUpShell(interactive);
  interactive.type("q", 4);
  // Counted from anew: what was printed before does not bring the prompt nearer.
  interactive.output().writeLine({AttrNone, ColourDefault, "before"}, true);
  EXPECT_EQ(conCommand(interactive, "/Midi/Source/Seq/*", "/Midi/Sink/Tone/In3.0"), ResultOk);
  EXPECT_THAT(calls(), ElementsAre("patch 2.0 3.0", "patch 2.1 3.0"));
  const std::string printed = interactive.printed();
  EXPECT_THAT(printed, HasSubstr("\x1b[39m\x1b[1Gconnect /Midi/Source/Seq/Out2.1:/Midi/Sink/Tone/In3.0\n"));
  EXPECT_THAT(printed, HasSubstr("More"));
  EXPECT_THAT(printed, testing::Not(HasSubstr("Out2.2")));

  // The answer is that of the pair before.
  calls().clear();
  interactive.type("q", 4);
  EXPECT_EQ(conCommand(interactive, "/Midi/Source/Seq/*", "/Midi/Sink/Keys/Gone"), ResultSilent);
  interactive.type("  ", 4);
  EXPECT_EQ(conCommand(interactive, "/Midi/Source/Seq/*", "/Midi/Sink/Tone/In3.0"), ResultOk);
  EXPECT_THAT(calls(), ElementsAre("patch 2.0 3.0", "patch 2.1 3.0", "patch 2.2 3.0"));
}

}  // namespace
}  // namespace flowscope
