// A program on the terminal that is stopped, or that reads in the background.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <functional>
#include <string>

#include "terminal/job_control.h"
#include "terminal/stdin_key_source.h"
#include "terminal/terminal_mode.h"
#include "terminal/terminal_signals.h"
#include "tests/terminal/child_process.h"
#include "tests/terminal/terminal_session.h"

namespace flowscope {
namespace {

using test::awaitChild;
using test::limitChild;
using test::readUntil;
using test::startChild;
using test::TerminalSession;

TEST(TerminalSignals, ProgramIsNotStoppedIfNobodyCouldContinueIt) {
  // The leader of a session has no shell above it.
  TerminalSession session([](const TerminalSession::Inside& inside) {
    StdinKeySource keys;
    const TerminalSignals signals(keys);
    setTerminalMode(TerminalMode::Raw);
    raise(SIGTSTP);
    inside.say(inside.mode());
    inside.say(keys.readByte() == InputResumed ? "resumed" : "a key");
    return 0;
  });
  EXPECT_EQ(session.allReports(), "raw resumed");
  EXPECT_EQ(session.end(), "exited 0");
}

// A child that makes the terminal raw, stops itself, and goes on with a terminal that somebody has restored meanwhile.
int stopAndContinue(const TerminalSession::Inside& inside, void (*begin)(),
                    const std::function<void(KeySource& keys)>& goOn) {
  const pid_t child = startChild([&] {
    begin();
    StdinKeySource keys;
    const TerminalSignals signals(keys);
    setTerminalMode(TerminalMode::Raw);
    raise(SIGSTOP);
    goOn(keys);
  });
  awaitChild(child);
  tcsetattr(0, TCSANOW, &inside.settingsAtStart);
  kill(child, SIGCONT);
  inside.say(awaitChild(child));
  return 0;
}

void toBackground() { setpgid(0, 0); }

TEST(TerminalSignals, ContinuingInTheBackgroundDoesNotChangeTheTerminal) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    return stopAndContinue(inside, toBackground, [&](KeySource& keys) {
      inside.say(inside.mode());
      dup2(open("/dev/null", O_RDONLY), 0);  // reading from the terminal would stop a process in the background
      inside.say(keys.readByte() == InputResumed ? "resumed " : "end ");
    });
  });
  EXPECT_EQ(session.allReports(), "saved end exited 0");
}

void toItsOwnSession() { setsid(); }

TEST(TerminalSignals, TerminalThatControlsNoSessionIsRawAgainAfterAStop) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    return stopAndContinue(inside, toItsOwnSession, [&](KeySource& keys) {
      inside.say(keys.readByte() == InputResumed ? "resumed " : "a key ");
      inside.say(inside.mode());
    });
  });
  EXPECT_EQ(session.allReports(), "resumed raw exited 0");
}

void ignoreInputStops() { signal(SIGTTIN, SIG_IGN); }

// As a parent leaves it that holds back what could stop it.
void blockStops() {
  sigset_t stops;
  sigemptyset(&stops);
  sigaddset(&stops, SIGTTIN);
  sigaddset(&stops, SIGTTOU);
  pthread_sigmask(SIG_BLOCK, &stops, nullptr);
}

TEST(StdinKeySource, ReturnsTheEndInTheBackgroundIfTheStopSignalIsIgnored) {
  for (void (*const refuse)() : {ignoreInputStops, blockStops}) {
    TerminalSession session([refuse](const TerminalSession::Inside& inside) {
      const pid_t child = startChild([&] {
        toBackground();
        refuse();
        StdinKeySource keys;
        inside.say(keys.readByte() == EndOfInput ? "end " : "a key ");
      });
      [[maybe_unused]] const ssize_t typed = write(inside.keyboard, "\n", 1);
      inside.say(awaitChild(child));
      return 0;
    });
    EXPECT_EQ(session.allReports(), "end exited 0");
  }
}

TEST(StdinKeySource, ReturnsTheEndInTheBackgroundIfNobodyCouldContinueIt) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    std::array<int, 2> life{};
    if (pipe(life.data()) != 0) return 1;
    // The shell that has started it is gone.
    const pid_t shell = fork();
    if (shell == 0) {
      const pid_t self = getpid();
      if (fork() > 0) _exit(0);
      limitChild();
      setpgid(0, 0);
      while (getppid() == self) usleep(1000);
      StdinKeySource keys;
      inside.say(keys.readByte() == EndOfInput ? "end" : "a key");
      _exit(0);
    }
    close(life[1]);
    waitpid(shell, nullptr, 0);
    [[maybe_unused]] const ssize_t typed = write(inside.keyboard, "\n", 1);
    readUntil(life[0], {});
    return 0;
  });
  EXPECT_EQ(session.allReports(), "end");
}

TEST(JobControl, StopForInputStopsTheWholeProcessGroup) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    const pid_t reader = startChild([] {
      setpgid(0, 0);
      raise(SIGSTOP);
      stopForInput(0);
    });
    awaitChild(reader);
    const pid_t other = startChild([&] {
      setpgid(0, reader);
      kill(reader, SIGCONT);
      for (;;) pause();
    });
    for (const pid_t child : {reader, other}) inside.say(awaitChild(child) + " ");
    kill(-reader, SIGCONT);
    inside.say(awaitChild(reader));
    kill(other, SIGKILL);
    return 0;
  });
  const std::string stopped = "stopped by " + std::to_string(SIGTTIN) + " ";
  EXPECT_EQ(session.allReports(), stopped + stopped + "exited 0");
}

}  // namespace
}  // namespace flowscope
