#include "terminal/terminal_mode.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <string>
#include <thread>

#include "tests/terminal/terminal_session.h"

namespace flowscope {
namespace {

using test::describeStatus;
using test::limitChild;
using test::TerminalSession;
using testsupport::sameSettings;

constexpr tcflag_t ClearedInput = 0x422;
constexpr tcflag_t ClearedLocal = 0x807a;

TEST(TerminalMode, RawClearsItsFlagsAndNoOthers) {
  // Once with the flags set that raw mode clears, once with none of them; the others are mixed.
  for (const bool set : {true, false}) {
    TerminalSession session(
        [](const TerminalSession::Inside& inside) {
          inside.say(setTerminalMode(TerminalMode::Raw) ? "raw." : "failed.");
          char byte = 0;
          [[maybe_unused]] const ssize_t count = read(0, &byte, 1);
          inside.say(setTerminalMode(TerminalMode::Saved) ? "saved." : "failed.");
          return 0;
        },
        [set](termios& settings) {
          settings.c_iflag = ICRNL | IXOFF | IMAXBEL;
          settings.c_lflag = ISIG | TOSTOP | ECHOCTL;
          if (set) {
            settings.c_iflag |= ClearedInput;
            settings.c_lflag |= ClearedLocal;
          }
          settings.c_oflag = OPOST | ONLCR;
          settings.c_cc[VMIN] = 7;
          settings.c_cc[VTIME] = 9;
        });
    EXPECT_EQ(session.awaitReport("."), "raw.") << set;
    termios expected = session.settingsAtStart();
    EXPECT_EQ(expected.c_iflag & ClearedInput, set ? ClearedInput : 0) << "what the test begins with";
    EXPECT_EQ(expected.c_lflag & ClearedLocal, set ? ClearedLocal : 0) << "what the test begins with";
    expected.c_iflag &= ~ClearedInput;
    expected.c_lflag &= ~ClearedLocal;
    expected.c_cc[VMIN] = 1;
    expected.c_cc[VTIME] = 0;
    EXPECT_TRUE(sameSettings(session.settings(), expected)) << set;
    session.type("x");
    EXPECT_EQ(session.allReports(), "saved.");
    EXPECT_EQ(session.end(), "exited 0");
    EXPECT_TRUE(session.hasSavedSettings()) << set;
  }
}

TEST(TerminalMode, TheMasksAreTheseFlags) {
  EXPECT_EQ(static_cast<tcflag_t>(BRKINT | ISTRIP | IXON), ClearedInput);
  EXPECT_EQ(static_cast<tcflag_t>(ICANON | ECHO | ECHOE | ECHOK | ECHONL | IEXTEN), ClearedLocal);
}

TEST(TerminalMode, NothingIsRestoredThatWasNotSaved) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    if (setTerminalMode(TerminalMode::Saved)) inside.say("applied ");
    lendTerminal();
    if (reclaimTerminal()) inside.say("reclaimed ");
    if (renewRawMode()) inside.say("renewed ");
    { const SavedModeScope scope; }
    inside.say(inside.mode());
    return 0;
  });
  EXPECT_EQ(session.allReports(), "saved ");
  EXPECT_TRUE(session.hasSavedSettings());
}

TEST(TerminalMode, TheFirstSettingsAreTheOnesRestored) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    setTerminalMode(TerminalMode::Raw);
    setTerminalMode(TerminalMode::Raw);
    inside.say(inside.mode());
    setTerminalMode(TerminalMode::Saved);
    inside.say(inside.mode());
    // Somebody changes the terminal before it is made raw again.
    termios other = inside.settingsAtStart;
    other.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(0, TCSANOW, &other);
    inside.say(inside.mode());
    setTerminalMode(TerminalMode::Raw);
    inside.say(inside.mode());
    setTerminalMode(TerminalMode::Saved);
    inside.say(inside.mode());
    return 0;
  });
  EXPECT_EQ(session.allReports(), "raw saved other raw saved ");
}

TEST(TerminalMode, WithoutATerminalNothingHappens) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    dup2(open("/dev/null", O_RDONLY), 0);
    inside.say(setTerminalMode(TerminalMode::Raw) ? "raw " : "refused ");
    inside.say(setTerminalMode(TerminalMode::Saved) ? "saved " : "refused ");
    inside.say(renewRawMode() ? "raw " : "refused ");
    return 0;
  });
  EXPECT_EQ(session.allReports(), "refused refused refused ");
  EXPECT_TRUE(session.hasSavedSettings());
}

TEST(TerminalMode, KeysArriveOneByOneWithoutEchoAndControlKeysKeepTheirMeaning) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    setTerminalMode(TerminalMode::Raw);
    inside.say("ready");
    for (;;) {
      char byte = 0;
      if (read(0, &byte, 1) != 1) return 1;
      if (byte == 'z' && write(1, "!", 1) != 1) return 1;
      inside.say({&byte, 1});
    }
  });
  EXPECT_EQ(session.awaitReport("ready"), "ready");
  session.type("x");
  EXPECT_EQ(session.awaitReport("x"), "x");
  session.type("\r");
  EXPECT_EQ(session.awaitReport("\n"), "\n") << "a carriage return arrives as a line feed";
  session.type("\x11\x13\x16z");
  EXPECT_EQ(session.awaitReport("z"), "\x11\x13\x16z") << "flow control and quoting are keys like others";
  EXPECT_EQ(session.awaitOutput("!"), "!") << "an echo would come before what the child writes at the end";
  session.type("\x03");
  EXPECT_EQ(session.end(), "killed by " + std::to_string(SIGINT));
}

// Runs code in a process group in the background of the session; answers how it ended or stopped.
std::string inBackground(const std::function<int()>& code) {
  const pid_t child = fork();
  if (child == 0) {
    limitChild();
    setpgid(0, 0);
    _exit(code());
  }
  setpgid(child, child);
  int status = 0;
  waitpid(child, &status, WUNTRACED);
  if (WIFSTOPPED(status)) {
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
  }
  return describeStatus(status);
}

TEST(TerminalMode, InTheBackgroundNothingChangesAndNothingStops) {
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

TEST(TerminalMode, InTheBackgroundItStaysAsAnotherProgramHasMadeIt) {
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

TEST(TerminalMode, WhatIsFoundInTheForegroundFirstIsSaved) {
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

// The session's first process has ended, and somebody else holds the terminal.
TEST(TerminalMode, ThatHasLostTheSessionIsLeftAlone) {
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

TEST(TerminalMode, RawIsMadeOfTheSavedSettings) {
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

// Runs code in a session of its own, which the terminal does not control.
std::string withoutControl(const std::function<int()>& code) {
  const pid_t child = fork();
  if (child == 0) {
    limitChild();
    setsid();
    _exit(code());
  }
  int status = 0;
  waitpid(child, &status, 0);
  return describeStatus(status);
}

TEST(TerminalMode, ATerminalThatControlsNoSessionHasNoBackground) {
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

TEST(TerminalMode, ATerminalIsReclaimedInTheForegroundAlone) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    setTerminalMode(TerminalMode::Raw);
    lendTerminal();
    inside.say(inside.mode());
    inside.say(inBackground([&] {
      if (reclaimTerminal()) inside.say("reclaimed ");
      if (renewRawMode()) inside.say("renewed ");
      inside.say(inside.mode());
      return 0;
    }));
    inside.say(reclaimTerminal() ? " reclaimed " : " refused ");
    inside.say(inside.mode());
    setTerminalMode(TerminalMode::Saved);
    inside.say(renewRawMode() ? "renewed " : "refused ");
    inside.say(inside.mode());
    return 0;
  });
  EXPECT_EQ(session.allReports(), "saved saved exited 0 reclaimed raw refused saved ");
}

TEST(TerminalMode, ALentTerminalIsRawAgainWhenTheLastLenderHasReclaimedIt) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    setTerminalMode(TerminalMode::Raw);
    lendTerminal();
    lendTerminal();
    inside.say(renewRawMode() ? "renewed " : "lent ");
    inside.say(reclaimTerminal() ? "reclaimed " : "lent ");
    inside.say(inside.mode());
    inside.say(reclaimTerminal() ? "reclaimed " : "lent ");
    inside.say(inside.mode());
    tcsetattr(0, TCSANOW, &inside.settingsAtStart);
    inside.say(renewRawMode() ? "renewed " : "lent ");
    inside.say(inside.mode());
    return 0;
  });
  EXPECT_EQ(session.allReports(), "lent lent saved reclaimed raw renewed raw ");
}

TEST(TerminalMode, ASystemCommandHasTheSavedSettings) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    setTerminalMode(TerminalMode::Raw);
    {
      const SavedModeScope scope;
      inside.say(inside.mode());
      // Neither a stop nor a continuation takes it away from the command.
      if (renewRawMode()) inside.say("renewed ");
      lendTerminal();
      if (reclaimTerminal()) inside.say("reclaimed ");
    }
    inside.say(inside.mode());
    inside.say(inBackground([&] {
      { const SavedModeScope scope; }
      inside.say(inside.mode());
      return 0;
    }));
    setTerminalMode(TerminalMode::Saved);
    { const SavedModeScope scope; }
    inside.say(inside.mode());
    return 0;
  });
  EXPECT_EQ(session.allReports(), "saved raw raw exited 0saved ");
}

TEST(TerminalMode, HandlersKeepErrno) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    setTerminalMode(TerminalMode::Raw);
    dup2(open("/dev/null", O_RDONLY), 0);
    errno = 12345;
    lendTerminal();
    reclaimTerminal();
    renewRawMode();
    if (errno == 12345) inside.say("kept");
    return 0;
  });
  EXPECT_EQ(session.allReports(), "kept");
}

}  // namespace
}  // namespace flowscope
