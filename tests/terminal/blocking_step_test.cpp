// A signal that a thread holds back does not wait until a blocking write finds room.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <string>

#include "terminal/held_signals.h"
#include "terminal/pending_text.h"
#include "terminal/terminal_signals.h"
#include "tests/support/fakes.h"
#include "tests/support/unique_fd.h"
#include "tests/terminal/child_process.h"

namespace flowscope {
namespace {

using testsupport::UniqueFd;

// A descriptor whose writes block, and its other end.
struct Blocking {
  UniqueFd write;
  UniqueFd read;

  bool waits() const { return (fcntl(write.get(), F_GETFL) & O_NONBLOCK) == 0; }

  // From now on, there is no room.
  void fill() const {
    const int flags = fcntl(write.get(), F_GETFL);
    fcntl(write.get(), F_SETFL, flags | O_NONBLOCK);
    const std::string much(4096, 'x');
    pollfd room{write.get(), POLLOUT, 0};
    do {
      while (::write(write.get(), much.data(), much.size()) > 0) {
      }
      while (::write(write.get(), "x", 1) > 0) {
      }
      // A terminal may have room again when it has handed its text on.
    } while (poll(&room, 1, 100) > 0);
    fcntl(write.get(), F_SETFL, flags);
  }
};

Blocking pipeEnds() {
  std::array<int, 2> ends{};
  EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
  return {UniqueFd(ends[1]), UniqueFd(ends[0])};
}

Blocking socketEnds() {
  std::array<int, 2> ends{};
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
  return {UniqueFd(ends[1]), UniqueFd(ends[0])};
}

Blocking terminalEnds() {
  UniqueFd master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
  EXPECT_EQ(grantpt(master.get()) | unlockpt(master.get()), 0);
  UniqueFd slave(open(ptsname(master.get()), O_RDWR | O_NOCTTY | O_CLOEXEC));
  EXPECT_GE(slave.get(), 0);
  return {std::move(slave), std::move(master)};
}

volatile sig_atomic_t heldSignals = 0;
volatile sig_atomic_t handledSignals = 0;

void holdOrCount(int signal) {
  if (holdSignal(signal)) {
    heldSignals = heldSignals + 1;
  } else {
    handledSignals = handledSignals + 1;
  }
}

class BlockingStepTest : public testing::Test {
 protected:
  void SetUp() override {
    heldSignals = 0;
    handledSignals = 0;
    before_ = std::signal(SIGUSR1, holdOrCount);
  }
  void TearDown() override { std::signal(SIGUSR1, before_); }

  // The signal comes after the last look and before the write.
  static void expectNoRoomAfterASignal(const Blocking& full) {
    full.fill();
    handledSignals = 0;
    beginHoldingSignals();
    {
      const BlockingStep step(full.write.get());
      ASSERT_FALSE(step.isTooLate());
      errno = 0;
      raise(SIGUSR1);
      EXPECT_EQ(errno, 0);
      EXPECT_TRUE(step.isTooLate());
      // Otherwise the write would not end.
      EXPECT_FALSE(full.waits());
      if (!full.waits()) {
        EXPECT_LT(write(full.write.get(), "x", 1), 0);
        EXPECT_EQ(errno, EAGAIN);
      }
    }
    EXPECT_EQ(handledSignals, 0);
    endHoldingSignals();
    EXPECT_EQ(handledSignals, 1);
  }

 private:
  void (*before_)(int) = nullptr;
};

TEST_F(BlockingStepTest, OfAPipeOrATerminalEndsAndLeavesTheFlagsThatOthersShare) {
  for (const Blocking& full : {pipeEnds(), terminalEnds()}) {
    const UniqueFd ofAnotherProcess(fcntl(full.write.get(), F_DUPFD_CLOEXEC, 0));
    expectNoRoomAfterASignal(full);
    EXPECT_EQ(fcntl(ofAnotherProcess.get(), F_GETFL) & O_NONBLOCK, 0);
  }
}

TEST_F(BlockingStepTest, OfASocketEndsAndSetsTheFlagsAgain) {
  const Blocking full = socketEnds();
  expectNoRoomAfterASignal(full);
  EXPECT_TRUE(full.waits());
}

TEST_F(BlockingStepTest, OfAFileStaysAsItIs) {
  std::string name = testing::TempDir() + "blocking-step-XXXXXX";
  const UniqueFd file(mkstemp(name.data()));
  unlink(name.c_str());
  ASSERT_EQ(write(file.get(), "one ", 4), 4);
  beginHoldingSignals();
  {
    const BlockingStep step(file.get());
    raise(SIGUSR1);
    EXPECT_EQ(write(file.get(), "two", 3), 3);
  }
  endHoldingSignals();
  struct stat status {};
  ASSERT_EQ(fstat(file.get(), &status), 0);
  EXPECT_EQ(status.st_size, 7) << "it has kept its place";
  EXPECT_EQ(fcntl(file.get(), F_GETFL) & O_NONBLOCK, 0);
}

TEST_F(BlockingStepTest, WithoutASignalChangesNothing) {
  const Blocking ends = pipeEnds();
  beginHoldingSignals();
  { const BlockingStep step(ends.write.get()); }
  raise(SIGUSR1);
  EXPECT_EQ(heldSignals, 1);
  EXPECT_TRUE(ends.waits()) << "the step is over";
  endHoldingSignals();
  EXPECT_TRUE(ends.waits());
}

// How the program ends when this happens in its first step, while nobody reads what it writes.
std::string endOf(const std::function<void(PendingText& text, int full)>& step) {
  const Blocking full = pipeEnds();
  full.fill();
  return test::awaitChild(test::startChild([&] {
    test::ScriptedKeys keys;
    const TerminalSignals signals(keys);
    PendingText text;
    text.append("text");
    beginHoldingSignals();
    step(text, full.write.get());
    endHoldingSignals();
  }));
}

TEST(HeldTermination, EndsTheProgramBeforeAWriteThatWouldBlock) {
  EXPECT_EQ(endOf([](PendingText& text, int full) {
              raise(SIGTERM);
              text.writeOnce(full);
            }),
            "killed by " + std::to_string(SIGTERM));
}

TEST(HeldTermination, EndsTheProgramDuringAWriteThatBlocks) {
  EXPECT_EQ(endOf([](PendingText& text, int full) {
              const pid_t program = getpid();
              const pid_t sender = fork();
              if (sender == 0) {
                usleep(50'000);
                _exit(kill(program, SIGTERM));
              }
              text.writeOnce(full);
            }),
            "killed by " + std::to_string(SIGTERM));
}

}  // namespace
}  // namespace flowscope
