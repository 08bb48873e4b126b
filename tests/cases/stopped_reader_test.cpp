// A traffic file that is a named pipe whose reader has stopped holds up neither the end of the program nor that of the
// writing.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <string>
#include <string_view>

#include "tests/support/case_runner.h"
#include "tests/support/pseudo_terminal.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/unique_fd.h"

namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;
using testsupport::Deadline;
using testsupport::ExitStatus;
using testsupport::PseudoTerminal;

constexpr auto Patience = 60s;
constexpr int Capacity = 4096;    // bytes of the pipe
constexpr int LongestPiece = 64;  // more than the console writes at once
constexpr std::string_view Prompt = "[ /]$ ";
constexpr const char* Lost = "flowscope: cannot write to pipe: its reader does not read any more; the rest is lost\r\n";

class StoppedReader : public testing::Test {
 protected:
  StoppedReader() {
    // The clock has 24 messages in a quarter note: thousands a second.
    scratch.write("device.toml",
                  "[[group]]\nid = 0\nname = \"Clock\"\nsources = 1\n"
                  "[[player]]\nsource = \"ClockOut1\"\nclock = 20000\n");
    EXPECT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    reader = testsupport::UniqueFd(::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    // The less fits, the sooner it is full.
    EXPECT_GT(::fcntl(reader.get(), F_SETPIPE_SZ, Capacity), 0);
  }

  testsupport::Command console() const {
    testsupport::Command command{FLOWSCOPE_BINARY_DIR "/flowscope", {}, {}, scratch.path().string()};
    command.environment = testsupport::caseEnvironment(FLOWSCOPE_BINARY_DIR);
    command.environment["EVTSRV_ENDPOINT"] = "embedded:device.toml";
    return command;
  }

  // Starts the writing, and waits until nothing more fits into the pipe and the console prints nothing any more.
  void fillThePipe(PseudoTerminal& terminal) {
    ASSERT_TRUE(waitFor(terminal, Prompt, 0));
    ASSERT_TRUE(terminal.type("to pipe /Midi/Source/Clock/*\n", Deadline(Patience)));
    ASSERT_TRUE(waitFor(terminal, "0xF8 0x00", 0));
    const Deadline deadline(Patience);
    for (int waiting = 0; waiting <= Capacity - LongestPiece && !deadline.passed();) {
      terminal.read(Deadline(10ms));
      ASSERT_EQ(::ioctl(reader.get(), FIONREAD, &waiting), 0);
    }
    while (terminal.read(Deadline(200ms)) && !deadline.passed()) {
    }
    ASSERT_FALSE(deadline.passed());
    ASSERT_FALSE(terminal.ended());
  }

  static bool waitFor(PseudoTerminal& terminal, std::string_view text, std::size_t position) {
    const Deadline deadline(Patience);
    while (terminal.output().find(text, position) == std::string::npos) {
      if (deadline.passed() || terminal.ended()) return false;
      terminal.read(deadline);
    }
    return true;
  }

  testsupport::ScratchFolder scratch;
  const std::string pipe = (scratch.path() / "pipe").string();
  testsupport::UniqueFd reader;
};

TEST_F(StoppedReader, LetsTheProgramQuit) {
  PseudoTerminal terminal(console(), {});
  fillThePipe(terminal);
  ASSERT_TRUE(terminal.type("quit\r", Deadline(Patience)));
  EXPECT_EQ(terminal.waitForExit(Deadline(Patience)), ExitStatus::exited(0));
  EXPECT_THAT(terminal.output(), HasSubstr(Lost));
}

TEST_F(StoppedReader, LetsTheInputEnd) {
  PseudoTerminal terminal(console(), {}, PseudoTerminal::Input::Pipe);
  fillThePipe(terminal);
  terminal.closeInput();
  EXPECT_EQ(terminal.waitForExit(Deadline(Patience)), ExitStatus::exited(0));
  EXPECT_THAT(terminal.output(), HasSubstr(Lost));
}

TEST_F(StoppedReader, LetsTheWritingEnd) {
  for (const std::string command : {"end;cat /Midi/Source/Clock/*", "cat", "to other;$true"}) {
    PseudoTerminal terminal(console(), {});
    fillThePipe(terminal);
    ASSERT_TRUE(terminal.type(command + "\r", Deadline(Patience)));
    ASSERT_TRUE(waitFor(terminal, Lost, 0)) << command;
    EXPECT_TRUE(waitFor(terminal, "0xF8 0x00", terminal.output().find(Lost))) << command;
    ASSERT_TRUE(terminal.type("end;quit\r", Deadline(Patience)));
    EXPECT_EQ(terminal.waitForExit(Deadline(Patience)), ExitStatus::exited(0));
    std::array<char, 8192> part{};
    while (::read(reader.get(), part.data(), part.size()) > 0) {
    }
  }
}

TEST_F(StoppedReader, LetsSignalsEndTheProgram) {
  {
    PseudoTerminal terminal(console(), {});
    fillThePipe(terminal);
    ASSERT_TRUE(terminal.type("\x03", Deadline(Patience)));
    EXPECT_EQ(terminal.waitForExit(Deadline(Patience)), ExitStatus::signalled(SIGINT));
    EXPECT_TRUE(testsupport::sameSettings(terminal.settings(), terminal.settingsAtStart()));
  }
  std::array<char, 8192> part{};
  while (::read(reader.get(), part.data(), part.size()) > 0) {
  }
  PseudoTerminal terminal(console(), {});
  fillThePipe(terminal);
  terminal.signal(SIGTERM);
  EXPECT_EQ(terminal.waitForExit(Deadline(Patience)), ExitStatus::signalled(SIGTERM));
}

TEST_F(StoppedReader, IsWaitedForWhileTheProgramRuns) {
  PseudoTerminal terminal(console(), {});
  fillThePipe(terminal);
  const std::size_t printed = terminal.output().size();
  std::array<char, 8192> part{};
  while (::read(reader.get(), part.data(), part.size()) > 0) {
  }
  EXPECT_TRUE(waitFor(terminal, "0xF8 0x00", printed));
  EXPECT_THAT(terminal.output(), Not(HasSubstr(Lost)));
}

}  // namespace
