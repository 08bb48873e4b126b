#include "tests/support/process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <filesystem>
#include <system_error>

#include "tests/support/scratch_folder.h"

namespace testsupport {
namespace {

using namespace std::chrono_literals;

Command shell(std::string text) { return {"/bin/sh", {"-c", std::move(text)}, {{"PATH", "/usr/bin:/bin"}}, "/"}; }

Deadline generous() { return Deadline(60s); }

TEST(Process, KeepsBothOutputsAndTheStatusApart) {
  const ProcessResult result = runProcess(shell("echo out; echo err >&2; exit 3"), "", generous());
  EXPECT_EQ(result.standardOutput, "out\n");
  EXPECT_EQ(result.standardError, "err\n");
  EXPECT_EQ(result.status, ExitStatus::exited(3));
}

TEST(Process, SeesTheSignal) {
  EXPECT_EQ(runProcess(shell("kill -TERM $$"), "", generous()).status, ExitStatus::signalled(SIGTERM));
}

TEST(Process, PassesLargeInputThroughAndClosesIt) {
  const std::string input(3'000'000, 'x');
  EXPECT_EQ(runProcess(shell("cat"), input, generous()).standardOutput, input);
}

TEST(Process, EndsWithAProgramThatDoesNotRead) {
  EXPECT_EQ(runProcess(shell("exit 0"), std::string(3'000'000, 'x'), generous()).status, ExitStatus::exited(0));
}

TEST(Process, GivesTheWholeEnvironmentAndTheFolder) {
  Command command{"/usr/bin/env", {}, {{"NAME", "a value"}}, ""};
  EXPECT_EQ(runProcess(command, "", generous()).standardOutput, "NAME=a value\n");
  EXPECT_EQ(runProcess(shell("pwd"), "", generous()).standardOutput, "/\n");
}

TEST(Process, GivesUpAtTheDeadline) {
  const ProcessResult result = runProcess(shell("echo begun; exec sleep 1000"), "", Deadline(300ms));
  EXPECT_EQ(result.status, std::nullopt);
  EXPECT_EQ(result.standardOutput, "begun\n");
}

TEST(Process, ThrowsWhenThereIsNoSuchProgram) {
  EXPECT_THROW(runProcess({"/no/such/program", {}, {}, ""}, "", generous()), std::system_error);
}

// Root reads every file; other users do not.
TEST(Child, FilesThatItMakesAreReadableAndWritableForTheParent) {
  const ScratchFolder folder;
  const std::filesystem::path log = folder.path() / "log";
  ChildDescriptors descriptors;
  descriptors.open(STDOUT_FILENO, log, O_WRONLY | O_CREAT);
  Child child(shell("echo out"), descriptors);
  EXPECT_EQ(child.wait(generous()), ExitStatus::exited(0));
  const auto own = std::filesystem::perms::owner_read | std::filesystem::perms::owner_write;
  EXPECT_EQ(std::filesystem::status(log).permissions() & own, own);
  EXPECT_EQ(std::filesystem::file_size(log), 4U);
}

}  // namespace
}  // namespace testsupport
