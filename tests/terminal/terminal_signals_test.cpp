#include "terminal/terminal_signals.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "terminal/line_editor.h"
#include "terminal/stdin_key_source.h"
#include "terminal/terminal_mode.h"
#include "tests/support/signals.h"
#include "tests/terminal/fakes.h"
#include "tests/terminal/terminal_session.h"

// How the C library itself ends a program whose buffer has run over.
extern "C" [[noreturn]] void __chk_fail();  // NOLINT(bugprone-reserved-identifier)

namespace flowscope {
namespace {

using test::killedBy;
using test::RecordingHost;
using test::TerminalSession;

// Makes the terminal raw and reads keys until a signal ends the process.
int readKeys(const TerminalSession::Inside& inside) {
  StdinKeySource keys;
  const TerminalSignals signals(keys);
  setTerminalMode(TerminalMode::Raw);
  inside.say("ready");
  for (;;) keys.readByte();
}

TEST(TerminalSignals, TheTerminalIsGivenBackBeforeASignalEndsTheProgram) {
  for (const int signal : testsupport::endingSignals()) {
    TerminalSession session(readKeys);
    EXPECT_EQ(session.awaitReport("ready"), "ready");
    EXPECT_FALSE(session.hasSavedSettings()) << signal;
    session.signal(signal);
    EXPECT_EQ(session.end(), killedBy(signal));
    EXPECT_TRUE(session.hasSavedSettings()) << signal;
  }
}

TEST(TerminalSignals, TheTerminalIsGivenBackAfterTheInterruptKey) {
  TerminalSession session(readKeys);
  EXPECT_EQ(session.awaitReport("ready"), "ready");
  session.type("\x03");
  EXPECT_EQ(session.end(), killedBy(SIGINT));
  EXPECT_TRUE(session.hasSavedSettings());
}

void readWhatMayNotBeRead() {
  void* page = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  [[maybe_unused]] const char byte = *static_cast<volatile char*>(page);
}

// Behind the end of a file that has been shortened.
void readWhatIsGone() {
  const int file = memfd_create("gone", MFD_CLOEXEC);
  void* page = mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE, file, 0);
  [[maybe_unused]] const char byte = *static_cast<volatile char*>(page);
}

// Frames that are large, so that no other limit comes first.
int fillTheStack(int depth) {
  volatile char frame[16384];
  frame[0] = static_cast<char>(depth);
  frame[sizeof frame - 1] = frame[0];
  if (depth < 0) return 0;
  return fillTheStack(depth + 1) + frame[0] + frame[sizeof frame - 1];
}

struct Failure {
  std::string_view name;
  std::function<void()> fail;
  int signal;
};

std::vector<Failure> failures() {
  return {
      {"abort", [] { std::abort(); }, SIGABRT},
      {"buffer overflow report", [] { __chk_fail(); }, SIGABRT},
      {"fault", readWhatMayNotBeRead, SIGSEGV},
      {"bus error", readWhatIsGone, SIGBUS},
      {"stack overflow", [] { fillTheStack(0); }, SIGSEGV},
  };
}

TEST(TerminalSignals, TheTerminalIsGivenBackWhenTheMainThreadCrashes) {
  for (const Failure& failure : failures()) {
    TerminalSession session([&](const TerminalSession::Inside& inside) {
      StdinKeySource keys;
      const TerminalSignals signals(keys);
      setTerminalMode(TerminalMode::Raw);
      inside.say(inside.mode());
      failure.fail();
      return 0;
    });
    EXPECT_EQ(session.allReports(), "raw ") << failure.name;
    EXPECT_EQ(session.end(), killedBy(failure.signal)) << failure.name;
    EXPECT_TRUE(session.hasSavedSettings()) << failure.name;
  }
}

TEST(TerminalSignals, TheTerminalIsGivenBackWhenACommandCrashes) {
  for (const Failure& failure : failures()) {
    TerminalSession session([&](const TerminalSession::Inside& inside) {
      StdinKeySource keys;
      const TerminalSignals signals(keys);
      RecordingHost host;
      host.during = [&] {
        inside.say(inside.mode());
        failure.fail();
      };
      LineEditor editor(host, keys, stdout, false);
      setTerminalMode(TerminalMode::Raw);
      editor.openGate();
      for (;;) pause();
      return 0;
    });
    session.type("x\n");
    EXPECT_EQ(session.allReports(), "raw ") << failure.name;
    EXPECT_EQ(session.end(), killedBy(failure.signal)) << failure.name;
    EXPECT_TRUE(session.hasSavedSettings()) << failure.name;
  }
}

TEST(TerminalSignals, IgnoredSignalsStayIgnored) {
  TerminalSession session([](const TerminalSession::Inside& inside) {
    std::vector<int> ignored = testsupport::endingSignals();
    ignored.push_back(SIGTSTP);
    for (const int fault : testsupport::faultSignals()) std::erase(ignored, fault);
    for (const int signal : ignored) std::signal(signal, SIG_IGN);
    StdinKeySource keys;
    const TerminalSignals signals(keys);
    setTerminalMode(TerminalMode::Raw);
    for (const int signal : ignored) raise(signal);
    inside.say(inside.mode());
    return 0;
  });
  EXPECT_EQ(session.allReports(), "raw ");
  EXPECT_EQ(session.end(), "exited 0");
}

TEST(TerminalSignals, AFaultEndsTheProgramEvenIfItsSignalIsIgnored) {
  for (const int signal : testsupport::faultSignals()) {
    TerminalSession session([signal](const TerminalSession::Inside& inside) {
      std::signal(signal, SIG_IGN);
      StdinKeySource keys;
      const TerminalSignals signals(keys);
      setTerminalMode(TerminalMode::Raw);
      inside.say(inside.mode());
      raise(signal);
      return 0;
    });
    EXPECT_EQ(session.allReports(), "raw ") << signal;
    EXPECT_EQ(session.end(), killedBy(signal));
    EXPECT_TRUE(session.hasSavedSettings()) << signal;
  }
}

TEST(TerminalSignals, SignalsThatEndNoProcessKeepTheirDefault) {
  for (const int signal : {SIGCHLD, SIGURG, SIGWINCH, SIGTTIN, SIGTTOU}) {
    test::ScriptedKeys keys;
    const TerminalSignals signals(keys);
    struct sigaction inside {};
    sigaction(signal, nullptr, &inside);
    EXPECT_EQ(inside.sa_handler, SIG_DFL) << signal;
  }
}

void ownHandler(int /*signal*/) {}

// Installs a handler, and answers which one there is while the terminal's signals are watched, and which afterwards.
std::array<sighandler_t, 2> handlersInsideAndAfter(int signal) {
  struct sigaction own {};
  struct sigaction before {};
  own.sa_handler = ownHandler;
  sigaction(signal, &own, &before);
  test::ScriptedKeys keys;
  struct sigaction inside {};
  {
    const TerminalSignals signals(keys);
    sigaction(signal, nullptr, &inside);
  }
  struct sigaction after {};
  sigaction(signal, &before, &after);
  return {inside.sa_handler, after.sa_handler};
}

TEST(TerminalSignals, HandlersForFaultsAreRestoredAfterwards) {
  for (const int signal : testsupport::faultSignals()) {
    const auto [inside, after] = handlersInsideAndAfter(signal);
    EXPECT_NE(inside, ownHandler) << signal;
    EXPECT_EQ(after, ownHandler) << signal;
  }
}

TEST(TerminalSignals, HandlersOfOthersStay) {
  std::vector<int> others = testsupport::endingSignals();
  for (const int fault : testsupport::faultSignals()) std::erase(others, fault);
  others.insert(others.end(), {SIGTSTP, SIGCONT});
  for (const int signal : others) {
    const auto [inside, after] = handlersInsideAndAfter(signal);
    EXPECT_EQ(inside, ownHandler) << signal;
    EXPECT_EQ(after, ownHandler) << signal;
  }
}

TEST(TerminalSignals, DefaultActionsAreRestoredAfterwards) {
  test::ScriptedKeys keys;
  { const TerminalSignals signals(keys); }
  struct sigaction after {};
  sigaction(SIGTERM, nullptr, &after);
  EXPECT_EQ(after.sa_handler, SIG_DFL);
}

// Runs the code in a child that is the first process of a container of processes; answers how it ended, or "" where
// the system allows no container.
std::string runAsFirstProcess(const std::function<void()>& code) {
  if (unshare(CLONE_NEWPID) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWPID) != 0) return "";
  const pid_t child = fork();
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    code();
    _exit(0);
  }
  int status = 0;
  return child > 0 && waitpid(child, &status, 0) == child ? test::describeStatus(status) : "";
}

TEST(TerminalSignals, TheFirstProcessOfAContainerEndsAsWell) {
  for (const int signal : testsupport::endingSignals()) {
    TerminalSession session([signal](const TerminalSession::Inside& inside) {
      inside.say(runAsFirstProcess([&] {
        StdinKeySource keys;
        const TerminalSignals signals(keys);
        setTerminalMode(TerminalMode::Raw);
        inside.say(inside.mode());
        raise(signal);
      }));
      return 0;
    });
    const std::string reports = session.allReports();
    if (reports.empty()) GTEST_SKIP() << "this system allows no container";
    EXPECT_EQ(reports, "raw exited " + std::to_string(128 + signal));
    EXPECT_EQ(session.end(), "exited 0");
    EXPECT_TRUE(session.hasSavedSettings()) << signal;
  }
}

}  // namespace
}  // namespace flowscope
