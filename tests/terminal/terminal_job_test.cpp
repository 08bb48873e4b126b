// A program on the terminal as a job of the shell that started it: stopped, continued, and from its prompt to its end.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "terminal/job_control.h"
#include "terminal/line_editor.h"
#include "terminal/stdin_key_source.h"
#include "terminal/terminal_mode.h"
#include "terminal/terminal_signals.h"
#include "tests/terminal/fakes.h"
#include "tests/terminal/terminal_session.h"

namespace flowscope {
namespace {

using test::describeStatus;
using test::killedBy;
using test::limitChild;
using test::readUntil;
using test::RecordingHost;
using test::TerminalSession;

TEST(TerminalSignals, WhereNobodyCouldContinueItTheProgramIsNotStopped) {
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

// Runs the code in a child process.
pid_t startChild(const std::function<void()>& code) {
  const pid_t child = fork();
  if (child != 0) return child;
  limitChild();
  code();
  _exit(0);
}

// How a child has stopped or ended, as soon as it has.
std::string awaitChild(pid_t child) {
  int status = 0;
  waitpid(child, &status, WUNTRACED);
  return describeStatus(status);
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

TEST(TerminalSignals, ContinuingInTheBackgroundLeavesTheTerminalAlone) {
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

TEST(TerminalSignals, AfterAStopATerminalThatControlsNoSessionIsRawAgain) {
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

TEST(StdinKeySource, InputInTheBackgroundWhereNothingStopsIsTheEnd) {
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

TEST(StdinKeySource, InputInTheBackgroundWhereNobodyCouldContinueItIsTheEnd) {
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

TEST(JobControl, AStopForInputStopsTheWholeGroup) {
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

// The other side of a job: what the shell that started it sees and does.
class Job {
 public:
  // Starts an editor in the foreground of the session; what it draws comes through a pipe.
  Job() {
    signal(SIGTTOU, SIG_IGN);
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) std::abort();
    drawn_ = ends[0];
    child_ = fork();
    if (child_ == 0) {
      limitChild();
      setpgid(0, 0);
      tcsetpgrp(0, getpgrp());
      signal(SIGTTOU, SIG_DFL);
      run(fdopen(ends[1], "w"));
    }
    setpgid(child_, child_);
    close(ends[1]);
  }

  std::string awaitDrawn(std::string_view text) const {
    const std::string seen = readUntil(drawn_, text);
    return seen.ends_with(text) ? "drawn " : "not drawn: " + seen;
  }

  void continueInForeground() const {
    tcsetpgrp(0, child_);
    kill(-child_, SIGCONT);
  }

  void signalAll(int number) const { kill(-child_, number); }

  // Waits until it has stopped or ended, and takes the terminal as a shell does.
  std::string awaitStop() const {
    const std::string status = awaitChild(child_);
    tcsetpgrp(0, getpgrp());
    return status + " ";
  }

 private:
  [[noreturn]] static void run(std::FILE* out) {
    StdinKeySource keys;
    const TerminalSignals signals(keys);
    RecordingHost host;
    LineEditor editor(host, keys, out, false);
    setTerminalMode(TerminalMode::Raw);
    editor.drawPrompt(host.promptText());
    std::fflush(out);
    editor.openGate();
    for (;;) pause();
  }

  pid_t child_ = -1;
  int drawn_ = -1;
};

constexpr std::string_view FirstPrompt = "\x1b[0G[p /]$ \x1b[8G\x1b[0K\x1b[8G";
constexpr std::string_view WithLine = "\x1b[0G[p /]$ \x1b[8Gab\x1b[0K\x1b[10G\x1b[9G";

TEST(TerminalSignals, StopsWithTheTerminalGivenBackAndContinuesWithItsPrompt) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    const Job job;
    inside.say(job.awaitDrawn(FirstPrompt));
    inside.say(inside.mode());
    [[maybe_unused]] ssize_t typed = write(inside.keyboard, "ab\x1b[D", 5);
    inside.say(job.awaitDrawn("\x1b[8Gab\x1b[0K\x1b[10G\x1b[9G"));
    // More than once, since a handler that was taken off would go unnoticed the first time.
    for (int round = 0; round < 3; ++round) {
      typed = write(inside.keyboard, "\x1a", 1);
      inside.say(job.awaitStop());
      inside.say(inside.mode());
      job.continueInForeground();
      inside.say(job.awaitDrawn(WithLine));
      inside.say(inside.mode());
    }
    job.signalAll(SIGTERM);
    inside.say(job.awaitStop());
    inside.say(inside.mode());
    return 0;
  });
  const std::string round = "stopped by " + std::to_string(SIGTSTP) + " saved drawn raw ";
  EXPECT_EQ(session.allReports(), "drawn raw drawn " + round + round + round + killedBy(SIGTERM) + " saved ");
}

TEST(TerminalSignals, AStopThatCannotBeHandledIsMadeGoodWhenItContinues) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    const Job job;
    inside.say(job.awaitDrawn(FirstPrompt));
    job.signalAll(SIGSTOP);
    inside.say(job.awaitStop());
    // The shell has its own idea of the terminal meanwhile.
    tcsetattr(0, TCSANOW, &inside.settingsAtStart);
    inside.say(inside.mode());
    job.continueInForeground();
    inside.say(job.awaitDrawn("\x1b[0G[p /]$ \x1b[8G\x1b[0K\x1b[8G\x1b[8G"));
    inside.say(inside.mode());
    job.signalAll(SIGKILL);
    inside.say(job.awaitStop());
    return 0;
  });
  EXPECT_EQ(session.allReports(),
            "drawn stopped by " + std::to_string(SIGSTOP) + " saved drawn raw " + killedBy(SIGKILL) + " ");
}

TEST(TerminalSignals, StoppedByInputInTheBackgroundItDrawsItsPromptWithoutAKey) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    const Job job;
    inside.say(job.awaitDrawn(FirstPrompt));
    [[maybe_unused]] ssize_t typed = write(inside.keyboard, "ab\x1b[D", 5);
    inside.say(job.awaitDrawn("\x1b[8Gab\x1b[0K\x1b[10G\x1b[9G"));
    typed = write(inside.keyboard, "\x1a", 1);
    inside.say(job.awaitStop());
    // More than once, since it may be continued in the background again.
    for (int round = 0; round < 2; ++round) {
      job.signalAll(SIGCONT);
      typed = write(inside.keyboard, "\n", 1);
      inside.say(job.awaitStop());
      inside.say(inside.mode());
    }
    tcflush(0, TCIFLUSH);  // in place of the shell, which reads it
    job.continueInForeground();
    inside.say(job.awaitDrawn(WithLine));
    inside.say(inside.mode());
    job.signalAll(SIGTERM);
    inside.say(job.awaitStop());
    inside.say(inside.mode());
    return 0;
  });
  const std::string stopped = "stopped by " + std::to_string(SIGTTIN) + " saved ";
  EXPECT_EQ(session.allReports(), "drawn drawn stopped by " + std::to_string(SIGTSTP) + " " + stopped + stopped +
                                      "drawn raw " + killedBy(SIGTERM) + " saved ");
}

TEST(TerminalSignals, StoppedByInputInTheBackgroundItEndsThere) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    const Job job;
    inside.say(job.awaitDrawn(FirstPrompt));
    [[maybe_unused]] ssize_t typed = write(inside.keyboard, "\x1a", 1);
    inside.say(job.awaitStop());
    job.signalAll(SIGCONT);
    typed = write(inside.keyboard, "\n", 1);
    inside.say(job.awaitStop());
    tcflush(0, TCIFLUSH);  // in place of the shell, which reads it
    job.signalAll(SIGTERM);
    job.signalAll(SIGCONT);
    inside.say(job.awaitStop());
    inside.say(inside.mode());
    return 0;
  });
  EXPECT_EQ(session.allReports(), "drawn stopped by " + std::to_string(SIGTSTP) + " stopped by " +
                                      std::to_string(SIGTTIN) + " " + killedBy(SIGTERM) + " saved ");
}

// An editor that quits at any line, as a shell does.
int wholeSession() {
  class QuittingHost : public RecordingHost {
   public:
    ResultCode runEditedLine(const std::string& line) override {
      RecordingHost::runEditedLine(line);
      editor->setRunning(false);
      return ResultQuit;
    }
    LineEditor* editor = nullptr;
  };
  StdinKeySource keys;
  const TerminalSignals signals(keys);
  QuittingHost host;
  LineEditor editor(host, keys, stdout, false);
  host.editor = &editor;
  setTerminalMode(TerminalMode::Raw);
  editor.drawPrompt(host.promptText());
  editor.openGate();
  while (editor.running()) usleep(1000);
  editor.waitForInput();
  setTerminalMode(TerminalMode::Saved);
  return host.lines == std::vector<std::string>{"quit"} ? 0 : 1;
}

TEST(TerminalSignals, ASessionFromPromptToQuit) {
  TerminalSession session([](const TerminalSession::Inside&) { return wholeSession(); });
  std::string seen = session.awaitOutput(FirstPrompt);
  session.type("qiu\x1b[D\x1b[D\x1b[3~\x1b[4~it\r");
  EXPECT_EQ(session.end(), "exited 0");
  EXPECT_TRUE(session.hasSavedSettings());
  seen += session.awaitOutput("\r\n");
  // Everything on the screen was drawn by the editor; nothing was echoed.
  EXPECT_EQ(seen, std::string(FirstPrompt) +
                      "\x1b[8Gq\x1b[0K\x1b[9G\x1b[8Gqi\x1b[0K\x1b[10G\x1b[8Gqiu\x1b[0K\x1b[11G"
                      "\x1b[10G\x1b[9G\x1b[8Gqu\x1b[0K\x1b[9G\x1b[10G"
                      "\x1b[8Gqui\x1b[0K\x1b[11G\x1b[8Gquit\x1b[0K\x1b[12G\r\n");
}

}  // namespace
}  // namespace flowscope
