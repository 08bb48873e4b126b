// The terminal's mode in a process that does not control the terminal.
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <string>
#include <thread>

#include "terminal/terminal_mode.h"
#include "tests/terminal/child_process.h"
#include "tests/terminal/terminal_session.h"

namespace flowscope {
namespace {

using test::inBackground;
using test::TerminalSession;
using test::withoutControl;

TEST(TerminalMode, SettingItInTheBackgroundChangesAndStopsNothing) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    inside.say(inBackground([&] {
      if (tcgetpgrp(0) == getpgrp()) return 1;
      inside.say(setTerminalMode(TerminalMode::Raw) ? "applied " : "refused ");
      inside.say(inside.mode());
      inside.say(setTerminalMode(TerminalMode::Saved) ? "applied " : "refused ");
      inside.say(inside.mode());
      return 0;
    }));
    // The same without the care for it, so that the above says something.
    inside.say(inBackground([&] { return tcsetattr(0, TCSANOW, &inside.settingsAtStart); }));
    return 0;
  });
  EXPECT_EQ(session.allReports(), "refused saved refused saved exited 0stopped by " + std::to_string(SIGTTOU));
}

// The session's first process has ended, and somebody else holds the terminal.
TEST(TerminalMode, TerminalThatLostItsSessionIsNotChanged) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    std::array<int, 2> asked{};
    if (pipe(asked.data()) != 0) return 1;
    const pid_t leader = getpid();
    if (fork() == 0) {
      setpgid(0, 0);
      setTerminalMode(TerminalMode::Raw);
      close(asked[0]);
      close(asked[1]);
      while (getppid() == leader) std::this_thread::sleep_for(std::chrono::milliseconds(1));
      inside.say(catchUpRawMode() ? "caught up " : "refused ");
      inside.say(inside.mode());
      _exit(0);
    }
    close(asked[1]);
    char none = 0;
    return read(asked[0], &none, 1) == 0 ? 0 : 1;
  });
  EXPECT_EQ(session.allReports(), "refused saved ");
}

TEST(TerminalMode, TerminalThatControlsNoSessionHasNoBackground) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    inside.say(withoutControl([&] {
      if (tcgetpgrp(0) >= 0) return 1;
      inside.say(setTerminalMode(TerminalMode::Raw) ? "applied " : "refused ");
      inside.say(inside.mode());
      {
        const SavedModeScope scope;
        inside.say(inside.mode());
      }
      inside.say(inside.mode());
      lendTerminal();
      inside.say(inside.mode());
      inside.say(reclaimTerminal() ? "reclaimed " : "refused ");
      inside.say(inside.mode());
      tcsetattr(0, TCSANOW, &inside.settingsAtStart);
      inside.say(renewRawMode() ? "renewed " : "refused ");
      inside.say(inside.mode());
      inside.say(setTerminalMode(TerminalMode::Saved) ? "applied " : "refused ");
      inside.say(inside.mode());
      return 0;
    }));
    return 0;
  });
  EXPECT_EQ(session.allReports(), "applied raw saved raw saved reclaimed raw renewed raw applied saved exited 0");
}

}  // namespace
}  // namespace flowscope
