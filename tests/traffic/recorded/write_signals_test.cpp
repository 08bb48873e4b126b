#include "traffic/write_signals.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <ostream>
#include <string>

namespace flowscope {
namespace {

bool isBlocked(int signal) {
  sigset_t blocked;
  pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
  return sigismember(&blocked, signal) == 1;
}

bool isWaiting(int signal) {
  sigset_t waiting;
  sigpending(&waiting);
  return sigismember(&waiting, signal) == 1;
}

// Runs code in a process of its own, and answers how it ended.
std::string inProcess(const std::function<void()>& code) {
  const pid_t child = fork();
  if (child == 0) {
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    alarm(60);
    code();
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFSIGNALED(status) ? "killed by " + std::to_string(WTERMSIG(status))
                             : "exited " + std::to_string(WEXITSTATUS(status));
}

void expect(bool that) {
  if (!that) _exit(1);
}

// A write that fails in one of the two ways; answers its error.
int writeWithoutReader() {
  std::array<int, 2> ends{};
  expect(pipe2(ends.data(), O_CLOEXEC) == 0);
  close(ends[0]);
  expect(write(ends[1], "x", 1) < 0);
  return errno;
}

int writeBeyondTheLimit() {
  const rlimit nothing{0, RLIM_INFINITY};
  expect(setrlimit(RLIMIT_FSIZE, &nothing) == 0);
  const std::string name = testing::TempDir() + "limit_" + std::to_string(getpid());
  const int file = open(name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  unlink(name.c_str());
  expect(write(file, "x", 1) < 0);
  return errno;
}

struct Failure {
  int signal;
  int (*fail)();

  friend void PrintTo(const Failure& failure, std::ostream* out) {
    *out << (failure.signal == SIGPIPE ? "NoReader" : "TooLarge");
  }
};

class WriteFailure : public testing::TestWithParam<Failure> {};

TEST_P(WriteFailure, IsAnErrorWithoutASignal) {
  EXPECT_EQ(inProcess([] {
              const auto [signal, fail] = GetParam();
              {
                const WriteSignals signals;
                for (int round = 0; round < 2; ++round) signals.take(fail());
                expect(!isWaiting(signal));
              }
              expect(!isBlocked(signal) && !isWaiting(signal));
              expect(!isBlocked(SIGTERM));
            }),
            "exited 0");
}

// The same signal for the process, which nobody else in it can take.
TEST_P(WriteFailure, DoesNotTakeASignalSentToTheProcess) {
  const auto [signal, fail] = GetParam();
  const std::string killed = "killed by " + std::to_string(signal);
  for (const bool first : {true, false}) {
    EXPECT_EQ(inProcess([signal = signal, fail = fail, first] {
                const WriteSignals signals;
                if (first) kill(getpid(), signal);
                const int error = fail();
                if (!first) kill(getpid(), signal);
                signals.take(error);
              }),
              killed)
        << first;
  }
}

// One that the thread was holding back already, from before.
TEST_P(WriteFailure, LeavesASignalThatWasPendingBefore) {
  EXPECT_EQ(inProcess([] {
              const auto [signal, fail] = GetParam();
              sigset_t all;
              sigfillset(&all);
              pthread_sigmask(SIG_BLOCK, &all, nullptr);
              raise(signal);
              {
                const WriteSignals signals;
                signals.take(fail());
              }
              expect(isBlocked(signal) && isWaiting(signal));
            }),
            "exited 0");
}

// Where the system has raised nothing, what is taken came from somebody else, who is another process here.
TEST_P(WriteFailure, GivesBackASignalThatItDidNotRaise) {
  const auto [signal, fail] = GetParam();
  const int error = signal == SIGPIPE ? EPIPE : EFBIG;
  EXPECT_EQ(inProcess([signal = signal, error] {
              const WriteSignals signals;
              const pid_t program = getpid();
              const pid_t sender = fork();
              if (sender == 0) _exit(kill(program, signal));
              waitpid(sender, nullptr, 0);
              signals.take(error);
            }),
            "killed by " + std::to_string(signal));
}

TEST_P(WriteFailure, OfAnotherKindTakesNoSignal) {
  EXPECT_EQ(inProcess([] {
              const WriteSignals signals;
              static_cast<void>(GetParam().fail());
              signals.take(ENOSPC);
            }),
            "killed by " + std::to_string(GetParam().signal));
}

TEST_P(WriteFailure, MayBeOneOfManyWhileTheSignalsStayBlocked) {
  EXPECT_EQ(inProcess([] {
              const auto [signal, fail] = GetParam();
              {
                const WriteSignals outer;
                for (int round = 0; round < 2; ++round) {
                  const WriteSignals inner;
                  inner.take(fail());
                }
                expect(isBlocked(signal) && !isWaiting(signal));
              }
              expect(!isBlocked(signal) && !isWaiting(signal));
            }),
            "exited 0");
}

INSTANTIATE_TEST_SUITE_P(Kinds, WriteFailure,
                         testing::Values(Failure{SIGPIPE, writeWithoutReader}, Failure{SIGXFSZ, writeBeyondTheLimit}),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace flowscope
