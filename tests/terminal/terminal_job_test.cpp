// A program on the terminal as a job of the shell that started it: stopped, continued, and from its prompt to its end.
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "terminal/line_editor.h"
#include "terminal/stdin_key_source.h"
#include "terminal/terminal_mode.h"
#include "terminal/terminal_signals.h"
#include "tests/terminal/child_process.h"
#include "tests/terminal/fakes.h"
#include "tests/terminal/terminal_session.h"

namespace flowscope {
namespace {

using test::awaitChild;
using test::killedBy;
using test::limitChild;
using test::readUntil;
using test::RecordingHost;
using test::TerminalSession;

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

void type(const TerminalSession::Inside& inside, std::string_view keys) {
  [[maybe_unused]] const ssize_t typed = write(inside.keyboard, keys.data(), keys.size());
}

// Types the line "ab" and moves the cursor onto its "b".
void typeLine(const TerminalSession::Inside& inside, const Job& job) {
  type(inside, "ab\x1b[D");
  inside.say(job.awaitDrawn("\x1b[8Gab\x1b[0K\x1b[10G\x1b[9G"));
}

void continueWithLine(const TerminalSession::Inside& inside, const Job& job) {
  job.continueInForeground();
  inside.say(job.awaitDrawn(WithLine));
  inside.say(inside.mode());
}

// Answers the status for the session's child.
int terminate(const TerminalSession::Inside& inside, const Job& job) {
  job.signalAll(SIGTERM);
  inside.say(job.awaitStop());
  inside.say(inside.mode());
  return 0;
}

TEST(TerminalSignals, ProgramStopsWithTheTerminalGivenBackAndContinuesWithItsPrompt) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    const Job job;
    inside.say(job.awaitDrawn(FirstPrompt));
    inside.say(inside.mode());
    typeLine(inside, job);
    // More than once, since a handler that was taken off would go unnoticed the first time.
    for (int round = 0; round < 3; ++round) {
      type(inside, "\x1a");
      inside.say(job.awaitStop());
      inside.say(inside.mode());
      continueWithLine(inside, job);
    }
    return terminate(inside, job);
  });
  const std::string round = "stopped by " + std::to_string(SIGTSTP) + " saved drawn raw ";
  EXPECT_EQ(session.allReports(), "drawn raw drawn " + round + round + round + killedBy(SIGTERM) + " saved ");
}

TEST(TerminalSignals, TheTerminalIsRawAgainAfterAStopThatCannotBeHandled) {
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

TEST(TerminalSignals, PromptIsDrawnWithoutAKeyAfterAStopByBackgroundInput) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    const Job job;
    inside.say(job.awaitDrawn(FirstPrompt));
    typeLine(inside, job);
    type(inside, "\x1a");
    inside.say(job.awaitStop());
    // More than once, since it may be continued in the background again.
    for (int round = 0; round < 2; ++round) {
      job.signalAll(SIGCONT);
      type(inside, "\n");
      inside.say(job.awaitStop());
      inside.say(inside.mode());
    }
    tcflush(0, TCIFLUSH);  // in place of the shell, which reads it
    continueWithLine(inside, job);
    return terminate(inside, job);
  });
  const std::string stopped = "stopped by " + std::to_string(SIGTTIN) + " saved ";
  EXPECT_EQ(session.allReports(), "drawn drawn stopped by " + std::to_string(SIGTSTP) + " " + stopped + stopped +
                                      "drawn raw " + killedBy(SIGTERM) + " saved ");
}

TEST(TerminalSignals, ProgramStoppedByBackgroundInputEndsByASignal) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    const Job job;
    inside.say(job.awaitDrawn(FirstPrompt));
    type(inside, "\x1a");
    inside.say(job.awaitStop());
    job.signalAll(SIGCONT);
    type(inside, "\n");
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

TEST(TerminalSignals, SessionRunsFromItsPromptToQuit) {
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
