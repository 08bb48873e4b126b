// The terminal's mode when another program has changed the settings.
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <string_view>

#include "terminal/terminal_mode.h"
#include "tests/terminal/child_process.h"
#include "tests/terminal/terminal_session.h"

namespace flowscope {
namespace {

using test::inBackground;
using test::TerminalSession;
using testsupport::sameSettings;

// What another program makes of the terminal.
termios settingsOfAnother(const termios& settingsAtStart) {
  termios other = settingsAtStart;
  other.c_lflag &= ~static_cast<tcflag_t>(ECHO | ISIG);
  other.c_iflag &= ~static_cast<tcflag_t>(ICRNL);
  other.c_oflag &= ~static_cast<tcflag_t>(OPOST);
  other.c_cc[VERASE] = 'e';
  return other;
}

std::string_view isSame(const termios& expected) {
  termios current{};
  tcgetattr(0, &current);
  return sameSettings(current, expected) ? "same " : "changed ";
}

TEST(TerminalMode, TerminalInTheBackgroundKeepsTheSettingsOfAnotherProgram) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    const termios other = settingsOfAnother(inside.settingsAtStart);
    // Raw before it came to the background, and not.
    for (const bool before : {true, false}) {
      if (before) setTerminalMode(TerminalMode::Raw);
      inside.say(inBackground([&] {
        const sighandler_t stop = signal(SIGTTOU, SIG_IGN);  // in place of the program in the foreground
        tcsetattr(0, TCSANOW, &other);
        signal(SIGTTOU, stop);
        const auto say = [&] { inside.say(isSame(other)); };
        lendTerminal();
        say();
        reclaimTerminal();
        say();
        setTerminalMode(TerminalMode::Raw);
        say();
        {
          const SavedModeScope scope;
          say();
        }
        say();
        renewRawMode();
        catchUpRawMode();
        say();
        lendTerminal();
        say();
        setTerminalMode(TerminalMode::Saved);
        say();
        return 0;
      }));
      if (before) setTerminalMode(TerminalMode::Saved);
    }
    return 0;
  });
  const std::string all = "same same same same same same same same exited 0";
  EXPECT_EQ(session.allReports(), all + all);
}

TEST(TerminalMode, SavesTheSettingsFoundFirstInTheForeground) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    signal(SIGTTOU, SIG_IGN);
    const termios other = settingsOfAnother(inside.settingsAtStart);
    inside.say(inBackground([&] {
      if (catchUpRawMode()) inside.say("nobody asked ");
      setTerminalMode(TerminalMode::Raw);
      inside.say(catchUpRawMode() ? "caught up " : "refused ");
      tcsetattr(0, TCSANOW, &other);
      tcsetpgrp(0, getpgrp());
      inside.say(catchUpRawMode() ? "caught up " : "refused ");
      inside.say(inside.mode());
      inside.say(catchUpRawMode() ? "again " : "done ");
      inside.say(setTerminalMode(TerminalMode::Saved) ? "applied " : "refused ");
      inside.say(isSame(other));
      if (catchUpRawMode()) inside.say("nobody asked ");
      return 0;
    }));
    return 0;
  });
  EXPECT_EQ(session.allReports(), "refused caught up raw done applied same exited 0");
}

TEST(TerminalMode, RawIsDerivedFromTheSavedSettings) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    const termios other = settingsOfAnother(inside.settingsAtStart);
    setTerminalMode(TerminalMode::Raw);
    termios raw{};
    tcgetattr(0, &raw);
    const auto leaveOther = [&] { tcsetattr(0, TCSANOW, &other); };
    {
      const SavedModeScope scope;
      leaveOther();
    }
    inside.say(isSame(raw));
    lendTerminal();
    leaveOther();
    reclaimTerminal();
    inside.say(isSame(raw));
    leaveOther();
    renewRawMode();
    inside.say(isSame(raw));
    leaveOther();
    setTerminalMode(TerminalMode::Raw);
    inside.say(isSame(raw));
    setTerminalMode(TerminalMode::Saved);
    inside.say(inside.mode());
    return 0;
  });
  EXPECT_EQ(session.allReports(), "same same same same saved ");
}

}  // namespace
}  // namespace flowscope
