#include "platform/host/news_queue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <random>
#include <vector>

#include "platform/host/graph_log.h"

namespace host {
namespace {

using service::ClientId;

constexpr ClientId Ann{1};
constexpr ClientId Ben{2};
constexpr ClientId Cid{3};

TEST(NewsQueue, AllWaitForWhatIsNewUntilTheyHaveIt) {
  NewsQueue queue;
  queue.announce();
  EXPECT_EQ(queue.next(), std::nullopt);
  queue.enter(Ann);
  queue.enter(Ben);
  EXPECT_EQ(queue.next(), std::nullopt);
  queue.announce();
  queue.enter(Cid);
  EXPECT_EQ(queue.next(), Ann);
  queue.postpone();
  EXPECT_EQ(queue.next(), Ben);
  queue.enter(Ben);
  EXPECT_EQ(queue.next(), Ann);
  queue.enter(Ann);
  EXPECT_EQ(queue.next(), std::nullopt);
  queue.announce();
  EXPECT_EQ(queue.next(), Cid);
  queue.leave(Cid);
  queue.leave(Cid);
  EXPECT_EQ(queue.next(), Ben);
  EXPECT_EQ(queue.size(), 2U);
}

// Beside two plain lists.
TEST(NewsQueue, DoesWhatTwoListsDo) {
  std::mt19937 random(3);
  NewsQueue queue;
  std::deque<ClientId> waiting;
  std::deque<ClientId> informed;
  for (int i = 0; i < 50'000; ++i) {
    const ClientId client{static_cast<std::uint32_t>(random() % 20)};
    switch (random() % 8) {
      case 0:
      case 1:
      case 2:
        queue.enter(client);
        std::erase(waiting, client);
        std::erase(informed, client);
        informed.push_back(client);
        break;
      case 3:
        queue.leave(client);
        std::erase(waiting, client);
        std::erase(informed, client);
        break;
      case 4:
        queue.announce();
        waiting.insert(waiting.end(), informed.begin(), informed.end());
        informed.clear();
        break;
      default:
        if (waiting.empty()) break;
        queue.postpone();
        waiting.push_back(waiting.front());
        waiting.pop_front();
    }
    ASSERT_EQ(queue.next(), waiting.empty() ? std::nullopt : std::optional(waiting.front()));
    ASSERT_EQ(queue.size(), waiting.size() + informed.size());
  }
}

TEST(GraphLog, FindsChangesByVersionAndForgetsTheOldest) {
  GraphLog log(3);
  EXPECT_EQ(log.after(0), nullptr);
  for (std::uint8_t version = 5; version <= 9; ++version) log.add(version, {version});
  EXPECT_EQ(log.size(), 3U);
  EXPECT_EQ(log.after(5), nullptr);
  ASSERT_NE(log.after(6), nullptr);
  EXPECT_EQ(log.after(6)->front(), 7);
  EXPECT_EQ(log.after(8)->front(), 9);
  EXPECT_EQ(log.after(9), nullptr);
  // After a gap, only what follows it can be found.
  log.add(20, {20});
  EXPECT_EQ(log.after(8), nullptr);
  EXPECT_EQ(log.after(19)->front(), 20);
  log.clear();
  EXPECT_EQ(log.after(19), nullptr);
}

}  // namespace
}  // namespace host
