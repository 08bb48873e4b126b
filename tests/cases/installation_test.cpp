// An installed program.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/process.h"
#include "tests/support/scratch_folder.h"

namespace {

using namespace std::chrono_literals;
using testsupport::Command;
using testsupport::Deadline;
using testsupport::ExitStatus;
using testsupport::ProcessResult;

TEST(Installation, HelpShowsThePageOfTheInstalledProgram) {
  const testsupport::ScratchFolder scratch;
  const auto run = [&](std::string program, std::vector<std::string> arguments) {
    const Command command{std::move(program),
                          std::move(arguments),
                          {{"PATH", std::getenv("PATH")}, {"PAGER", "cat"}, {"EVTSRV_ENDPOINT", "embedded:"}},
                          scratch.path()};
    return testsupport::runProcess(command, "", Deadline(30s));
  };
  const auto build = std::filesystem::path(FLOWSCOPE_BINARY_DIR).parent_path();
  const ProcessResult installed = run("cmake", {"--install", build, "--prefix", scratch.path() / "place"});
  ASSERT_EQ(installed.status, ExitStatus::exited(0)) << installed.standardError;
  // A page of its own, so that no other can be taken for it.
  scratch.write("place/share/man/man1/flowscope.1", ".TH FLOWSCOPE 1\n.SH NAME\nflowscope - as it was installed\n");
  std::filesystem::create_symlink("place/bin/flowscope", scratch.path() / "link");
  for (const char* program : {"place/bin/flowscope", "link"}) {
    const ProcessResult helped = run(scratch.path() / program, {"-c", "help"});
    EXPECT_NE(helped.standardOutput.find("as it was installed"), std::string::npos)
        << program << ": " << helped.standardOutput << helped.standardError;
  }
}

}  // namespace
