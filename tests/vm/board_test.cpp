// The console on a board with a 32-bit processor, worked with over the board's serial line.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "tests/support/case_runner.h"

namespace {

using namespace std::chrono_literals;

// The emulated board boots in less than half a minute, on a loaded machine in more.
constexpr auto Patience = 120s;

const std::filesystem::path VmFolder = std::filesystem::path(FLOWSCOPE_SOURCE_DIR) / "tests/vm";
const std::filesystem::path Build = std::filesystem::path(FLOWSCOPE_SOURCE_DIR) / "build/arm";

constexpr const char* Steps = R"(
prompt [ /]$
type <tab>
wait terminate
type ls M<tab>
prompt [ /]$ ls Midi/
type So<tab><enter>
wait Sequencer
prompt [ /]$
type cd Midi<enter>
prompt [ Midi]$
type pwd<enter>
wait /Midi
prompt [ Midi]$
type quit<enter>
exit 0
)";

TEST(Board, ConsoleOnASerialLine) {
  if (!std::filesystem::exists(Build / "bin/flowscope")) {
    GTEST_SKIP() << "no build for the board (scripts/build-arm)";
  }
  const std::string script = "program " + (VmFolder / "run").string() + "\nargs -i arm " + Build.string() + " " +
                             (VmFolder / "consoles/console").string() + Steps;
  const auto problem = testsupport::runCase(script, {"", testsupport::caseEnvironment("/usr/bin"), Patience});
  if (problem && problem->cause.find("cannot run here") != std::string::npos) GTEST_SKIP() << problem->cause;
  EXPECT_FALSE(problem.has_value()) << problem->line << ": " << problem->cause;
}

}  // namespace
