#include "terminal/held_signals.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <mutex>
#include <thread>

namespace flowscope {
namespace {

// Atomic, because the signal may come to another thread.
std::atomic<int> handled = 0;
std::atomic<int> held = 0;

void handler(int signal) {
  const int savedErrno = errno;
  ++(holdSignal(signal) ? held : handled);
  errno = savedErrno;
}

class HeldSignals : public testing::Test {
 protected:
  void SetUp() override {
    handled = 0;
    held = 0;
    before_ = std::signal(SIGUSR1, handler);
  }
  void TearDown() override { std::signal(SIGUSR1, before_); }

 private:
  void (*before_)(int) = nullptr;
};

TEST_F(HeldSignals, ComeWhenTheOutermostPairEnds) {
  beginHoldingSignals();
  beginHoldingSignals();
  raise(SIGUSR1);
  endHoldingSignals();
  EXPECT_EQ(handled, 0);
  EXPECT_EQ(held, 1);
  endHoldingSignals();
  EXPECT_EQ(handled, 1);
  EXPECT_EQ(held, 1);
  EXPECT_FALSE(isHoldingSignals());
}

TEST_F(HeldSignals, ASecondOneIsNotHeld) {
  beginHoldingSignals();
  raise(SIGUSR1);
  raise(SIGUSR1);
  EXPECT_EQ(handled, 1);
  endHoldingSignals();
  EXPECT_EQ(handled, 2);
}

TEST_F(HeldSignals, OfOneThreadAreNotThoseOfAnother) {
  beginHoldingSignals();
  std::thread([] { raise(SIGUSR1); }).join();
  EXPECT_EQ(handled, 1);
  endHoldingSignals();
  EXPECT_EQ(handled, 1);
}

TEST_F(HeldSignals, WhoWaitsForTheLockHoldsNone) {
  SignalSafeLock lock;
  std::unique_lock guard(lock);
  std::thread waiting([&lock] { const std::lock_guard mine(lock); });
  // Long enough that it waits.
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  pthread_kill(waiting.native_handle(), SIGUSR1);
  for (int tries = 0; handled == 0 && tries < 30'000; ++tries) poll(nullptr, 0, 1);
  EXPECT_EQ(handled, 1);
  EXPECT_EQ(held, 0);
  guard.unlock();
  waiting.join();
}

TEST_F(HeldSignals, AHandlerGivesUpALockThatItDoesNotGet) {
  SignalSafeLock lock;
  const std::lock_guard guard(lock);
  std::thread([&lock] {
    EXPECT_FALSE(lock.lockWithin(PartingTime()));
    EXPECT_FALSE(isHoldingSignals());
  }).join();
  EXPECT_TRUE(isHoldingSignals());
}

}  // namespace
}  // namespace flowscope
