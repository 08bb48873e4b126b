// The thread that talks to the server, with requests that a test holds up.
#include "platform/drivers/jack/server_thread.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "tests/support/deadline.h"

namespace drivers::jack {
namespace {

using namespace std::chrono_literals;
using Withdrawn = ServerThread::Withdrawn;

class JackServerThread : public testing::Test {
 protected:
  // A request that runs until release.
  ServerThread::Request askAndHold(ServerThread::Undo undo = {}) {
    auto request = thread->ask(
        [this] {
          begun.set_value();
          released.get_future().wait();
          return 7;
        },
        ServerThread::Turn::Last, std::move(undo));
    begun.get_future().wait();
    return request;
  }

  void release() { released.set_value(); }

  std::optional<int> wait(const ServerThread::Request& request) {
    const testsupport::Deadline deadline(20s);
    while (!thread->result(request) && !deadline.passed()) std::this_thread::sleep_for(1ms);
    return thread->result(request);
  }

  std::shared_ptr<sys::EventDescriptor> wakeup = std::make_shared<sys::EventDescriptor>();
  std::promise<void> begun;
  std::promise<void> released;
  std::unique_ptr<ServerThread> thread = std::make_unique<ServerThread>(wakeup);
};

TEST_F(JackServerThread, RequestsAreDoneInOrder) {
  std::vector<int> order;
  const auto held = askAndHold();
  for (int number = 0; number < 5; ++number) {
    thread->ask([&order, number] {
      order.push_back(number);
      return 0;
    });
  }
  const auto last = thread->ask([] { return 9; });
  EXPECT_EQ(thread->result(held), std::nullopt);
  EXPECT_EQ(thread->doneCount(), 0U);
  release();
  EXPECT_EQ(wait(last), 9);
  EXPECT_EQ(thread->result(held), 7);
  EXPECT_EQ(order, (std::vector{0, 1, 2, 3, 4}));
  EXPECT_EQ(thread->doneCount(), 7U);
}

TEST_F(JackServerThread, WhoWaitsComesFirst) {
  std::vector<int> order;
  askAndHold();
  const auto ask = [&](int number, ServerThread::Turn turn) {
    return thread->ask(
        [&order, number] {
          order.push_back(number);
          return 0;
        },
        turn);
  };
  ask(1, ServerThread::Turn::Last);
  ask(2, ServerThread::Turn::SomebodyWaits);
  const auto never = ask(3, ServerThread::Turn::SomebodyWaits);
  const auto last = ask(4, ServerThread::Turn::Last);
  ask(5, ServerThread::Turn::SomebodyWaits);
  EXPECT_EQ(thread->withdraw(never), Withdrawn::Never);
  release();
  EXPECT_EQ(wait(last), 0);
  EXPECT_EQ(order, (std::vector{2, 5, 1, 4}));
}

TEST_F(JackServerThread, KnowsSinceWhenARequestRuns) {
  EXPECT_EQ(thread->runsSince(), std::nullopt);
  const auto now = [] { return device::Time(std::chrono::steady_clock::now().time_since_epoch()); };
  const device::Time before = now();
  const auto held = askAndHold();
  const device::Time begin = thread->runsSince().value_or(device::Time{});
  EXPECT_GE(begin, before);
  EXPECT_LE(begin, now());
  thread->ask([] { return 0; });
  EXPECT_EQ(thread->runsSince(), begin) << "not the one that waits";
  release();
  EXPECT_EQ(wait(held), 7);
  EXPECT_EQ(wait(thread->ask([] { return 9; })), 9);
  EXPECT_EQ(thread->runsSince(), std::nullopt);
}

TEST_F(JackServerThread, RequestThatIsWithdrawnBeforeItBeginsNeverBegins) {
  askAndHold();
  bool done = false;
  const auto request = thread->ask([&] {
    done = true;
    return 0;
  });
  const auto last = thread->ask([] { return 9; });
  EXPECT_EQ(thread->withdraw(request), Withdrawn::Never);
  release();
  EXPECT_EQ(wait(last), 9);
  EXPECT_FALSE(done);
  EXPECT_EQ(thread->result(request), std::nullopt);
}

TEST_F(JackServerThread, RequestThatIsWithdrawnWhileItRunsIsUndoneBeforeTheNext) {
  std::vector<int> undone;
  const auto held = askAndHold([&](int result) { undone.push_back(result); });
  std::size_t undoneBefore = 0;
  const auto last = thread->ask([&] {
    undoneBefore = undone.size();
    return 9;
  });
  EXPECT_EQ(thread->withdraw(held), Withdrawn::Undone);
  release();
  EXPECT_EQ(wait(last), 9);
  EXPECT_EQ(undone, std::vector{7});
  EXPECT_EQ(undoneBefore, 1U);
}

TEST_F(JackServerThread, RequestThatIsDoneIsNotWithdrawn) {
  bool undone = false;
  const auto request = thread->ask([] { return 3; }, ServerThread::Turn::Last, [&](int) { undone = true; });
  EXPECT_EQ(wait(request), 3);
  EXPECT_EQ(thread->withdraw(request), Withdrawn::Done);
  EXPECT_EQ(wait(thread->ask([] { return 9; })), 9);
  EXPECT_FALSE(undone);
}

TEST_F(JackServerThread, RequestsOfAClientThatIsClosedNeverBegin) {
  askAndHold();
  bool done = false;
  thread->ask([&] {
    done = true;
    return 0;
  });
  thread->close(nullptr);
  release();
  EXPECT_EQ(wait(thread->ask([] { return 9; })), 9);
  EXPECT_FALSE(done);
}

TEST_F(JackServerThread, ThreadThatHangsIsLeftBehind) {
  askAndHold();
  const auto begin = std::chrono::steady_clock::now();
  thread.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 20s);
  release();
  // It ends by itself; nothing of the test may end before.
  while (wakeup.use_count() > 1) std::this_thread::sleep_for(1ms);
}

}  // namespace
}  // namespace drivers::jack
