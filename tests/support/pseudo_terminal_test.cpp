#include "tests/support/pseudo_terminal.h"

#include <gtest/gtest.h>

#include <csignal>

namespace testsupport {
namespace {

using namespace std::chrono_literals;

Command program(std::string name, std::vector<std::string> arguments = {}) {
  return {std::move(name), std::move(arguments), {{"PATH", "/usr/bin:/bin"}}, "/"};
}

Command shell(std::string text) { return program("/bin/sh", {"-c", std::move(text)}); }

Deadline generous() { return Deadline(60s); }

// Returns true as soon as the output contains text.
bool readUntil(PseudoTerminal& terminal, std::string_view text) {
  const Deadline deadline = generous();
  while (terminal.output().find(text) == std::string::npos) {
    if (terminal.ended() || deadline.passed()) {
      return false;
    }
    terminal.read(deadline);
  }
  return true;
}

TEST(PseudoTerminalTest, IsATerminalOfItsSize) {
  PseudoTerminal terminal(program("stty", {"size"}), {13, 57});
  EXPECT_EQ(terminal.waitForExit(generous()), ExitStatus::exited(0));
  EXPECT_EQ(terminal.output(), "13 57\r\n");
}

TEST(PseudoTerminalTest, HandsItsOutputOver) {
  PseudoTerminal terminal(shell("echo one; read line; echo two"), {});
  ASSERT_TRUE(readUntil(terminal, "one\r\n"));
  EXPECT_EQ(terminal.takeOutput(), "one\r\n");
  EXPECT_EQ(terminal.output(), "");
  EXPECT_TRUE(terminal.type("\r", generous()));
  EXPECT_EQ(terminal.waitForExit(generous()), ExitStatus::exited(0));
  EXPECT_EQ(terminal.output(), "\r\ntwo\r\n");
}

TEST(PseudoTerminalTest, IsTheControllingTerminal) {
  PseudoTerminal terminal(shell("echo through > /dev/tty"), {});
  EXPECT_EQ(terminal.waitForExit(generous()), ExitStatus::exited(0));
  EXPECT_EQ(terminal.output(), "through\r\n");
}

TEST(PseudoTerminalTest, EchoesAndPassesKeysOn) {
  PseudoTerminal terminal(program("cat"), {});
  EXPECT_TRUE(terminal.type("hello\r", generous()));
  EXPECT_TRUE(readUntil(terminal, "hello\r\nhello\r\n"));
  EXPECT_TRUE(terminal.type("\x04", generous()));
  EXPECT_EQ(terminal.waitForExit(generous()), ExitStatus::exited(0));
}

TEST(PseudoTerminalTest, TurnsTheInterruptKeyIntoTheSignal) {
  PseudoTerminal terminal(shell("echo ready; exec cat"), {});
  ASSERT_TRUE(readUntil(terminal, "ready"));
  EXPECT_TRUE(terminal.type("\x03", generous()));
  EXPECT_EQ(terminal.waitForExit(generous()), ExitStatus::signalled(SIGINT));
}

TEST(PseudoTerminalTest, SendsSignals) {
  PseudoTerminal terminal(program("cat"), {});
  terminal.signal(SIGQUIT);
  EXPECT_EQ(terminal.waitForExit(generous()), ExitStatus::signalled(SIGQUIT));
}

TEST(PseudoTerminalTest, HangsUp) {
  PseudoTerminal terminal(program("cat"), {});
  terminal.hangUp();
  EXPECT_EQ(terminal.waitForExit(generous()), ExitStatus::signalled(SIGHUP));
}

TEST(PseudoTerminalTest, TellsTheProgramItsNewSize) {
  PseudoTerminal terminal(shell("trap 'stty size' WINCH; echo ready; while read line; do :; done; stty size"), {});
  ASSERT_TRUE(readUntil(terminal, "ready"));
  terminal.resize({40, 100});
  EXPECT_TRUE(terminal.type("\x04", generous()));
  EXPECT_EQ(terminal.waitForExit(generous()), ExitStatus::exited(0));
  EXPECT_NE(terminal.output().find("40 100"), std::string::npos);
}

TEST(PseudoTerminalTest, ShowsTheSettings) {
  PseudoTerminal terminal(shell("stty -icanon -echo; echo raw; read line; stty icanon echo"), {});
  ASSERT_TRUE(readUntil(terminal, "raw"));
  EXPECT_EQ(terminal.settings().c_lflag & (ICANON | ECHO), 0U);
  EXPECT_FALSE(sameSettings(terminal.settings(), terminal.settingsAtStart()));
  EXPECT_TRUE(terminal.type("\r", generous()));
  EXPECT_EQ(terminal.waitForExit(generous()), ExitStatus::exited(0));
  EXPECT_TRUE(sameSettings(terminal.settings(), terminal.settingsAtStart()));
}

TEST(PseudoTerminalTest, ShowsSettingsThatAProgramLeftBehind) {
  PseudoTerminal terminal(shell("stty -echo"), {});
  EXPECT_EQ(terminal.waitForExit(generous()), ExitStatus::exited(0));
  EXPECT_FALSE(sameSettings(terminal.settings(), terminal.settingsAtStart()));
}

TEST(PseudoTerminalTest, FeedsAPipeAndClosesIt) {
  PseudoTerminal terminal(shell("test -t 0 && echo terminal; test -t 1 && cat"), {}, PseudoTerminal::Input::Pipe);
  EXPECT_TRUE(terminal.type("line\n", generous()));
  ASSERT_TRUE(readUntil(terminal, "line"));
  EXPECT_FALSE(terminal.ended());
  terminal.closeInput();
  EXPECT_EQ(terminal.waitForExit(generous()), ExitStatus::exited(0));
  EXPECT_EQ(terminal.output(), "line\r\n");
  EXPECT_FALSE(terminal.type("more\n", generous()));
}

TEST(PseudoTerminalTest, KeepsAllOutputOfAProgramThatEnds) {
  PseudoTerminal terminal(shell("i=0; while test $i -lt 5000; do echo line $i; i=$((i+1)); done"), {});
  EXPECT_EQ(terminal.waitForExit(generous()), ExitStatus::exited(0));
  EXPECT_TRUE(terminal.output().ends_with("line 4999\r\n"));
}

TEST(PseudoTerminalTest, TakesMoreKeysThanTheSystemBuffers) {
  PseudoTerminal terminal(shell("stty -icanon -echo; echo ready; head -c 100000 | wc -c"), {});
  ASSERT_TRUE(readUntil(terminal, "ready"));
  EXPECT_TRUE(terminal.type(std::string(100'000, 'k'), generous()));
  EXPECT_EQ(terminal.waitForExit(generous()), ExitStatus::exited(0));
  EXPECT_TRUE(readUntil(terminal, "100000"));
}

TEST(PseudoTerminalTest, GivesUpWaitingAtTheDeadline) {
  PseudoTerminal terminal(program("cat"), {});
  EXPECT_FALSE(terminal.read(Deadline(100ms)));
  EXPECT_EQ(terminal.waitForExit(Deadline(100ms)), std::nullopt);
  EXPECT_FALSE(terminal.ended());
}

}  // namespace
}  // namespace testsupport
