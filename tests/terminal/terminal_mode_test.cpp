#include "terminal/terminal_mode.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>

#include "tests/terminal/terminal_session.h"

namespace flowscope {
namespace {

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

TEST(TerminalMode, RawMasksHaveTheseFlags) {
  EXPECT_EQ(static_cast<tcflag_t>(BRKINT | ISTRIP | IXON), ClearedInput);
  EXPECT_EQ(static_cast<tcflag_t>(ICANON | ECHO | ECHOE | ECHOK | ECHONL | IEXTEN), ClearedLocal);
}

TEST(TerminalMode, RestoresNothingThatWasNotSaved) {
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

TEST(TerminalMode, RestoresTheSettingsThatWereSavedFirst) {
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

TEST(TerminalMode, WithoutATerminalDoesNothing) {
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

TEST(TerminalMode, RawDeliversKeysOneByOneWithoutEchoAndKeepsControlKeys) {
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

TEST(TerminalMode, SignalHandlersKeepErrno) {
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
