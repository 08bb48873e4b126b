// The program on a terminal that others have set up for themselves, or give to it and take from it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/support/case_runner.h"
#include "tests/support/scratch_folder.h"
#include "tests/terminal/terminal_session.h"

namespace {

using namespace std::chrono_literals;
using flowscope::test::describeStatus;
using flowscope::test::limitChild;
using flowscope::test::TerminalSession;
using testsupport::sameSettings;

constexpr std::string_view Prompt = "[ /]$ \x1b[7G\x1b[0K\x1b[7G";

// Becomes the console, on the terminal that this process has. Answers only when that fails.
int becomeConsole(const std::string& endpoint) {
  auto settings = testsupport::caseEnvironment(FLOWSCOPE_BINARY_DIR);
  settings["EVTSRV_ENDPOINT"] = endpoint;
  std::vector<std::string> texts;
  for (const auto& [name, value] : settings) texts.push_back(name + "=" + value);
  std::vector<char*> environment;
  for (std::string& text : texts) environment.push_back(text.data());
  environment.push_back(nullptr);
  std::string program = FLOWSCOPE_BINARY_DIR "/flowscope";
  std::array<char*, 2> words{program.data(), nullptr};
  execve(program.c_str(), words.data(), environment.data());
  return 1;
}

std::size_t countOf(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != std::string_view::npos; at = text.find(part, at + part.size())) ++count;
  return count;
}

TEST(SharedTerminal, InNonBlockingModeShowsAllPortsOfALargeDevice) {
  constexpr std::size_t Ports = 5000;
  const testsupport::ScratchFolder scratch;
  scratch.write("device.toml", "[[group]]\nid = 0\nname = \"Deck\"\nsources = " + std::to_string(Ports) + "\n");
  const std::string endpoint = "embedded:" + (scratch.path() / "device.toml").string();
  TerminalSession session([&](const TerminalSession::Inside&) {
    fcntl(0, F_SETFL, fcntl(0, F_GETFL) | O_NONBLOCK);
    return becomeConsole(endpoint);
  });
  session.awaitOutput(Prompt);
  session.type("ls -r /Midi/Source;pwd\r");
  // The terminal fills up while nobody reads.
  std::this_thread::sleep_for(300ms);
  const std::string shown = session.awaitOutput("\x1b[1G/\r\n");
  EXPECT_EQ(countOf(shown, "DeckOut"), Ports);
  EXPECT_NE(shown.find("DeckOut5000"), std::string::npos);
  session.type("quit\r");
  session.awaitOutput("quit");
  EXPECT_EQ(session.end(), "exited 0");
  EXPECT_TRUE(session.hasSavedSettings());
}

// Blocks until the terminal is in raw mode, or for long; answers what its mode is then.
std::string_view awaitRaw(const TerminalSession::Inside& inside) {
  const testsupport::Deadline deadline(flowscope::test::Patience);
  while (inside.mode() != "raw " && !deadline.passed()) std::this_thread::sleep_for(1ms);
  return inside.mode();
}

// The console as a job in the background of a shell.
pid_t startInBackground(int output) {
  const pid_t child = fork();
  if (child == 0) {
    limitChild();
    setpgid(0, 0);
    dup2(output, 1);
    _exit(becomeConsole("embedded:"));
  }
  setpgid(child, child);
  return child;
}

struct Output {
  Output() {
    if (pipe2(ends.data(), O_CLOEXEC) != 0) std::abort();
  }
  std::string_view await(std::string_view text) const {
    return flowscope::test::readUntil(ends[0], text).find(text) != std::string::npos ? "drawn " : "not drawn ";
  }
  std::array<int, 2> ends{};
};

TEST(SharedTerminal, IsMadeRawWhenTheProgramGetsItWithoutASignal) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    signal(SIGTTOU, SIG_IGN);
    const Output output;
    const pid_t console = startInBackground(output.ends[1]);
    inside.say(output.await(Prompt));
    inside.say(inside.mode());
    tcsetpgrp(0, console);
    inside.say(awaitRaw(inside));
    inside.say(output.await(Prompt));
    [[maybe_unused]] const ssize_t typed = write(inside.keyboard, "quit\r", 5);
    int status = 0;
    waitpid(console, &status, 0);
    inside.say(inside.mode());
    inside.say(describeStatus(status));
    return 0;
  });
  EXPECT_EQ(session.allReports(), "drawn saved raw drawn saved exited 0");
}

}  // namespace
