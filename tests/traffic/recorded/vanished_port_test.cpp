// Ports that have gone since the tree was built. The devices of the bundled service never change, so the library of
// this room's tests stands in: it lets a port go between two commands.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tests/traffic/recorded/recorded_fixture.h"
#include "topology/listing.h"
#include "topology/path_completion.h"
#include "topology/refresh.h"
#include "traffic/monitor_attachment.h"

namespace flowscope {
namespace {

constexpr unsigned NoOption = 0;

constexpr const char* ConnectedDevice =
    "Midi\n"
    "  Source\n"
    "    Seq\n"
    "      Out2.0\n"
    "      Out2.1\n"
    "  Sink\n"
    "    Tone\n"
    "      In3.0";

class VanishedPort : public RecordedTest {
 protected:
  VanishedPort() : RecordedTest({{{2, 2}}, {{3, 1}}, ConnectedDevice}) {
    auto& library = recording::library();
    library.sinksOf = {{"2.0", {{3, 0}}}, {"2.1", {{3, 0}}}};
    library.sourcesOf = {{"3.0", {{2, 0}, {2, 1}}}};
  }

  // The first source goes, with its connection and its name.
  static void letItGo() {
    auto& library = recording::library();
    library.sinksOf = {{"2.1", {{3, 0}}}};
    library.sourcesOf = {{"3.0", {{2, 1}}}};
    library.connectResults["Out2.0"] = EvtSrv::EvtRes_NotFound;
  }

  std::string list(unsigned options, const char* path) {
    code = listCommand(shell, options, path);
    return shell.printed();
  }

  ResultCode code = 0;
};

TEST_F(VanishedPort, IsListedWithoutItsConnections) {
  ASSERT_EQ(list(TreeListing, "/Midi/Source/Seq"),
            "\n"
            "+-- Out2.0/\n\033[22m    +-- Tone/\n        +-- In3.0  \n"
            "+-- Out2.1/\n\033[22m    +-- Tone/\n        +-- In3.0  \n");
  letItGo();
  EXPECT_EQ(list(TreeListing, "/Midi/Source/Seq"),
            "\n"
            "+-- Out2.0\n\033[22m"
            "+-- Out2.1/\n\033[22m    +-- Tone/\n        +-- In3.0  \n");
  EXPECT_EQ(code, ResultOk);
  EXPECT_EQ(list(TreeListing, "/Midi/Sink/Tone"), "\n+-- In3.0/\n\033[22m    +-- Seq/\n        +-- Out2.1  \n");
}

TEST_F(VanishedPort, IsListedByItselfAsEmpty) {
  list(NoOption, "/Midi/Source/Seq/Out2.0");
  letItGo();
  EXPECT_EQ(list(NoOption, "/Midi/Source/Seq/Out2.0"), "\n");
  EXPECT_EQ(code, ResultOk);
}

// What stood below it is found by the pattern, and has gone when its turn comes.
TEST_F(VanishedPort, EndsAListingOfPlacesBelowThePort) {
  list(NoOption, "/Midi/Source/Seq/Out2.0");
  letItGo();
  EXPECT_EQ(list(NoOption, "/Midi/Source/Seq/Out2.0/Tone/In3.0"), "\n");
  EXPECT_EQ(code, ResultOk);
  EXPECT_EQ(list(NoOption, "/Midi/Source/Seq/Out2.0/Tone"), "");
  EXPECT_EQ(code, ResultSilent);
  EXPECT_EQ(listPath(shell, NoOption, "/Midi/Source/Seq/Out2.0/Tone", true), ResultSilent);
}

// The first match is listed by what is left on its way, and refreshes the port; the second is there no more then, and
// the third is not listed.
TEST_F(VanishedPort, EndsAListingOfSeveralPlacesAsASuccess) {
  recording::library().sinksOf["2.0"] = {{3, 0}, {1, 0}};
  list(NoOption, "/Midi/Source/Seq");
  letItGo();
  EXPECT_EQ(list(NoOption, "/Midi/Source/Seq/*/*"),
            "\n/Midi/Source/Seq/Out2.0/Tone:\n"
            "\n/Midi/Source/Seq/Out2.0/Panel:\n");
  EXPECT_EQ(code, ResultOk);
  EXPECT_EQ(list(NoOption, "/Midi/Source/Seq/*/*"), "\nIn3.0  \n\n");
}

TEST_F(VanishedPort, IsCompletedButNotAttached) {
  letItGo();
  refreshTopology(shell, {});
  EXPECT_EQ(collectPathCandidates("/Midi/Source/Seq/Out2", {}, shell.tree()),
            (std::vector<std::string>{"Out2.0", "Out2.1/"}));
  EXPECT_EQ(catCommand(shell, NoOption, "/Midi/Source/Seq/Out2.0"), ResultConnectError);
  EXPECT_TRUE(shell.attached().empty());
}

}  // namespace
}  // namespace flowscope
