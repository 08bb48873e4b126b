// Descriptors of the console: how many there are, who inherits them, and what happens when they run out.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "tests/support/case_runner.h"
#include "tests/support/process.h"
#include "tests/support/scratch_folder.h"

namespace {

using namespace std::chrono_literals;
using testing::MatchesRegex;
using testsupport::Deadline;
using testsupport::ExitStatus;

constexpr auto Patience = 100s;

// Runs a line of the system's interpreter in the folder, with the console in its path.
testsupport::ProcessResult runShell(const testsupport::ScratchFolder& scratch, const std::string& line) {
  testsupport::Command command{"/bin/sh", {"-c", line}, {}, scratch.path().string()};
  command.environment = testsupport::caseEnvironment(FLOWSCOPE_BINARY_DIR);
  command.environment["EVTSRV_ENDPOINT"] = "embedded:device.toml";
  return testsupport::runProcess(command, "", Deadline(Patience));
}

class OpenFiles : public testing::Test {
 protected:
  OpenFiles() {
    scratch.write("device.toml", "[[group]]\nid = 0\nname = \"G\"\nsources = 400\nsinks = 400\n");
    scratch.write("song", "0xD0 1 0\n");
  }

  testsupport::ScratchFolder scratch;
};

TEST_F(OpenFiles, MayBeAsManyAsTheSystemGrants) {
  const auto result = runShell(scratch, "ulimit -Sn 100; ulimit -Hn 300; flowscope -c '$ulimit -n'");
  EXPECT_EQ(result.status, ExitStatus::exited(0));
  EXPECT_EQ(result.standardOutput, "300\n");
}

TEST_F(OpenFiles, AreNotInherited) {
  const std::string plain = runShell(scratch, "ls /proc/self/fd").standardOutput;
  // The script and the script in which it stands, two traffic files, and what the service needs.
  scratch.write("inner", "$ls /proc/self/fd\n");
  scratch.write("outer", "to log /Midi/Source/G/GOut[12]\ncmdfrom inner\n");
  const auto result = runShell(scratch, "flowscope -f outer");
  EXPECT_EQ(result.status, ExitStatus::exited(0));
  EXPECT_EQ(result.standardOutput, plain);
}

TEST_F(OpenFiles, RunOutForTrafficFilesOnly) {
  scratch.write("script", "pwd\n");
  const auto result = runShell(scratch,
                               "ulimit -n 200; flowscope"
                               " -c 'to log /Midi/Source/G/*'"
                               " -c 'to other /Midi/Source/G/GOut1'"
                               " -c '$readlink /proc/$PPID/fd/135 /proc/$PPID/fd/136 | grep -c /log$'"
                               " -c 'from song /Midi/Source/G/GOut1'"
                               " -c 'cmdfrom script'"
                               " -c 'con /Midi/Source/G/GOut1 /Midi/Sink/G/GIn2'"
                               " -c 'ls -r /Midi/Source/G/GOut1'"
                               " -c 'dis /Midi/Source/G/GOut1'"
                               " -c 'ls -r /Midi/Source/G/GOut1'"
                               " -c 'cat /Midi/Source/G/GOut3'"
                               " -c end");
  EXPECT_EQ(result.status, ExitStatus::exited(0));
  // Between the errors and the place: of the descriptors 135 and 136 the former is a traffic file, as the last one that
  // leaves 64 of the 200.
  EXPECT_THAT(result.standardOutput, MatchesRegex("ERROR: OpenFileError\nERROR: OpenFileError\n1\n/\n"
                                                  "connect /Midi/Source/G/GOut1:/Midi/Sink/G/GIn2\n\n"
                                                  "\\+-- G/\n    \\+-- GIn2  \n\n"));
  EXPECT_THAT(result.standardError,
              MatchesRegex("flowscope: too many matches for log: it cannot be opened more than 1[0-9][0-9] times\n"
                           "flowscope: cannot open other: too many files are open\n"));
  EXPECT_FALSE(std::filesystem::exists(scratch.path() / "other"));
}

// What is closed again is refused, too, before nothing is left for the rest.
TEST_F(OpenFiles, RunOutForScriptsAndPlaybackAtLast) {
  scratch.write("script", "$true\n");
  const auto result =
      runShell(scratch, "ulimit -n 32; flowscope -c 'cmdfrom script' -c 'from song /Midi/Source/G/GOut1'");
  EXPECT_EQ(result.status, ExitStatus::exited(0));
  EXPECT_EQ(result.standardOutput, "ERROR: OpenFileError\nERROR: OpenFileError\n");
  EXPECT_EQ(result.standardError,
            "flowscope: cannot open script: too many files are open\n"
            "flowscope: cannot open song: too many files are open\n");
}

}  // namespace
