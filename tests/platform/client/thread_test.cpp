#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "kstd.h"
#include "tests/platform/client/fixture.h"
#include "utilsrv.h"

namespace UtilSrv {
namespace {

struct Shared {
  std::atomic<int> steps{0};
  std::atomic<bool> unwound{false};
  std::string name;
};

TEST(Thread, RunsItsEntryUntilTheDestructorHasWaited) {
  Shared shared;
  {
    const Thread thread([](void* argument) { static_cast<Shared*>(argument)->steps = 1; }, &shared, nullptr);
  }
  EXPECT_EQ(shared.steps, 1);
}

struct MarkUnwound {
  explicit MarkUnwound(Shared& shared) : shared_(shared) {}
  MarkUnwound(const MarkUnwound&) = delete;
  MarkUnwound& operator=(const MarkUnwound&) = delete;
  ~MarkUnwound() { shared_.unwound = true; }
  Shared& shared_;
};

TEST(Thread, ExitUnwindsAndEndsTheThread) {
  Shared shared;
  {
    const Thread thread(
        [](void* argument) {
          auto& state = *static_cast<Shared*>(argument);
          const MarkUnwound mark(state);
          state.steps = 1;
          Thread::exit(3);
          state.steps = 2;
        },
        &shared, nullptr);
  }
  EXPECT_EQ(shared.steps, 1);
  EXPECT_TRUE(shared.unwound);
}

TEST(Thread, LongNamesAreCut) {
  Shared shared;
  {
    const Thread thread(
        [](void* argument) {
          auto& state = *static_cast<Shared*>(argument);
          const testsupport::Deadline deadline(client::Patience);
          // The name is given by who started it, perhaps a little later.
          while (state.name != "a-name-that-is-" && !deadline.passed()) {
            std::vector<char> name(64);
            pthread_getname_np(pthread_self(), name.data(), name.size());
            state.name = name.data();
          }
        },
        &shared, "a-name-that-is-too-long");
  }
  EXPECT_EQ(shared.name, "a-name-that-is-");
}

struct Owned {
  std::atomic<Thread*> thread{nullptr};
  std::atomic<bool> released{false};
};

TEST(Thread, MayBeDestroyedByItsOwnEntry) {
  Owned owned;
  owned.thread = new Thread(
      [](void* argument) {
        auto& state = *static_cast<Owned*>(argument);
        Thread* self = nullptr;
        while (self == nullptr) self = state.thread.exchange(nullptr);
        delete self;
        state.released = true;
      },
      &owned, nullptr);
  const testsupport::Deadline deadline(client::Patience);
  while (!owned.released && !deadline.passed()) sched_yield();
  EXPECT_TRUE(owned.released);
}

// How often a thread found another one inside.
int intrusions(KSTD::KThreadMutex& mutex) {
  struct Work {
    KSTD::KThreadMutex& mutex;
    std::atomic<bool> inside{false};
    std::atomic<int> intrusions{0};
  } work{mutex};
  {
    const auto body = [](void* argument) {
      auto& shared = *static_cast<Work*>(argument);
      for (int i = 0; i < 1000; ++i) {
        const std::lock_guard guard(shared.mutex);
        if (shared.inside.exchange(true)) ++shared.intrusions;
        // Gives the others every chance to come in.
        sched_yield();
        shared.inside = false;
      }
    };
    const Thread one(body, &work, nullptr);
    const Thread two(body, &work, nullptr);
    const Thread three(body, &work, nullptr);
  }
  return work.intrusions;
}

TEST(Mutex, LetsOneThreadInAtATime) {
  KSTD::KThreadMutex mutex;
  EXPECT_EQ(intrusions(mutex), 0);
}

}  // namespace
}  // namespace UtilSrv
