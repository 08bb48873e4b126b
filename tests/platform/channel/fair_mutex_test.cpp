#include "platform/channel/fair_mutex.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

namespace channel {
namespace {

TEST(FairMutex, LetsOneThreadInAtATime) {
  FairMutex mutex;
  std::atomic<bool> inside{false};
  std::atomic<int> intrusions{0};
  const auto enter = [&] {
    for (int i = 0; i < 1000; ++i) {
      const std::lock_guard guard(mutex);
      if (inside.exchange(true)) ++intrusions;
      // Gives the others every chance to come in.
      sched_yield();
      inside = false;
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) threads.emplace_back(enter);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(intrusions, 0);
}

TEST(FairMutex, LetsInWaitingThreads) {
  FairMutex mutex;
  std::atomic<bool> busy{false};
  std::atomic<bool> stop{false};
  std::thread greedy([&] {
    while (!stop) {
      const std::lock_guard guard(mutex);
      busy = true;
    }
  });
  while (!busy) sched_yield();
  // Would not return if the greedy one could keep it.
  for (int i = 0; i < 100; ++i) {
    const std::lock_guard guard(mutex);
  }
  stop = true;
  greedy.join();
  SUCCEED();
}

TEST(FairMutex, IsTriedWithoutWaiting) {
  FairMutex mutex;
  ASSERT_TRUE(mutex.try_lock());
  bool locked = true;
  std::thread([&] { locked = mutex.try_lock(); }).join();
  EXPECT_FALSE(locked);
  mutex.unlock();
  std::thread([&] {
    locked = mutex.try_lock();
    if (locked) mutex.unlock();
  }).join();
  EXPECT_TRUE(locked);
  mutex.lock();
  mutex.unlock();
}

}  // namespace
}  // namespace channel
