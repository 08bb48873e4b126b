// What a server's connections hold, and which of them hold too much.
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/channel/frames.h"
#include "platform/host/stream_server.h"
#include "platform/system/local_socket.h"
#include "tests/support/sanitizer.h"

namespace host {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t MiB = 1U << 20U;

class ServerMemory : public testing::Test {
 protected:
  ServerMemory() { server_.countIn(ledger_); }

  sys::UniqueDescriptor connect() {
    auto [ours, theirs] = sys::localSocketPair();
    server_.adopt(std::move(theirs));
    return std::move(ours);
  }

  void serveAll() {
    while (loop_.poll() > 0 || server_.serve(64)) server_.flush();
    server_.flush();
  }

  // Writes a frame of so many bytes without its end, as the server reads it.
  void writeFrame(int socket, std::size_t length, std::size_t missing) {
    Bytes frame;
    channel::appendFrame(Bytes(length, 'x'), frame);
    frame.resize(frame.size() - missing);
    for (std::size_t at = 0; at < frame.size();) {
      const std::size_t piece = std::min<std::size_t>(frame.size() - at, 32'768);
      const ssize_t size = write(socket, frame.data() + at, piece);
      ASSERT_GT(size, 0);
      at += static_cast<std::size_t>(size);
      serveAll();
    }
  }

  std::size_t held() const { return ledger_.of(user_); }

  const std::uint32_t user_ = getuid();
  service::MemoryLedger ledger_{16 * MiB};
  asio::io_context loop_;
  int messages_ = 0;
  std::span<const std::uint8_t> last_;  // message
  Handled handled_;
  StreamServer server_{loop_,
                       {[](ConnectionId) {},
                        [this](ConnectionId, std::span<const std::uint8_t> message) {
                          ++messages_;
                          last_ = message;
                          return handled_;
                        },
                        [](ConnectionId) {}},
                       {}};
  asio::executor_work_guard<asio::io_context::executor_type> work_ = asio::make_work_guard(loop_);
};

TEST_F(ServerMemory, CountsWhatHasArrivedAndWasNotHandled) {
  {
    const auto one = connect();
    const auto two = connect();
    EXPECT_EQ(held(), 2 * StreamServer::ConnectionBytes);
    writeFrame(one.get(), 700'000, 1);
    EXPECT_GT(held(), 700'000U);
    EXPECT_LT(held(), 850'000U) << "the buffer grows to what the frame needs";
    EXPECT_EQ(messages_, 0);
    ASSERT_EQ(write(one.get(), "x", 1), 1);
    serveAll();
    EXPECT_EQ(messages_, 1);
    EXPECT_LT(held(), 70'000U) << "only a small buffer is kept";
  }
  serveAll();
  EXPECT_EQ(ledger_.total(), 0U);
}

TEST_F(ServerMemory, CountsWhatWaitsToBeWritten) {
  const auto deaf = connect();
  for (int i = 0; i < 20; ++i) server_.send(ConnectionId{1}, Bytes(100'000, 'x'));
  EXPECT_GT(held(), 2'000'000U);
  serveAll();
  EXPECT_GT(held(), 1'000'000U) << "the system takes some";
  Bytes taken(4 * MiB);
  while (server_.hasWork() || recv(deaf.get(), taken.data(), taken.size(), MSG_DONTWAIT) > 0) serveAll();
  EXPECT_LT(held(), 70'000U);
  server_.closeAll();
  EXPECT_EQ(ledger_.total(), 0U);
}

TEST_F(ServerMemory, KnowsWhichConnectionHoldsTheMost) {
  const auto small = connect();
  const auto large = connect();
  const auto middle = connect();
  const auto empty = connect();
  writeFrame(small.get(), 100'000, 1);
  writeFrame(large.get(), 900'000, 1);
  writeFrame(middle.get(), 300'000, 1);
  EXPECT_EQ(server_.heaviestOf(user_), std::nullopt) << "nobody holds too much";
  ledger_.change(user_, 0, 8 * MiB);
  EXPECT_EQ(server_.heaviestOf(user_ + 1), std::nullopt);
  for (const std::uint64_t id : {2U, 3U, 1U}) {
    ASSERT_EQ(server_.heaviestOf(user_), ConnectionId{id});
    server_.disconnect(ConnectionId{id});
  }
  EXPECT_EQ(server_.heaviestOf(user_), std::nullopt) << "closing the last one frees nothing";
}

TEST_F(ServerMemory, FreesWhatIsKeptForLaterBeforeAnybodyHasToGo) {
  const auto idle = connect();
  const auto busy = connect();
  writeFrame(idle.get(), 60'000, 0);
  writeFrame(busy.get(), 40'000, 1);
  ASSERT_EQ(messages_, 1);
  const std::size_t before = held();
  ledger_.change(user_, 0, 8 * MiB - before + 10);
  EXPECT_TRUE(ledger_.isOver());
  EXPECT_EQ(server_.heaviestOf(user_), std::nullopt);
  EXPECT_FALSE(ledger_.isOver());
  ledger_.change(user_, 0, MiB);
  EXPECT_EQ(server_.heaviestOf(user_), ConnectionId{2});
  // Both go on as if nothing had happened.
  ASSERT_EQ(write(busy.get(), "x", 1), 1);
  writeFrame(idle.get(), 60'000, 0);
  EXPECT_EQ(messages_, 3);
}

TEST_F(ServerMemory, MessageThatIsHandledInPartKeepsItsPlace) {
  const auto client = connect();
  Bytes frame;
  channel::appendFrame(Bytes(40'000, 'x'), frame);
  channel::appendFrame(Bytes(10, 'y'), frame);
  ASSERT_EQ(write(client.get(), frame.data(), frame.size()), static_cast<ssize_t>(frame.size()));
  handled_.all = false;
  for (int i = 0; i < 5; ++i) {
    loop_.poll();
    server_.serve(64);
    server_.flush();
  }
  ASSERT_GT(messages_, 1);
  const auto* const place = last_.data();
  ledger_.change(user_, 0, 8 * MiB);
  EXPECT_EQ(server_.heaviestOf(user_), ConnectionId{1}) << "nothing can be freed without it";
  EXPECT_GT(held(), 8 * MiB + 40'000);
  server_.serve(1);
  EXPECT_EQ(last_.data(), place);
  EXPECT_EQ(Bytes(last_.begin(), last_.end()), Bytes(40'000, 'x'));
  ledger_.change(user_, 8 * MiB, 0);
  handled_.all = true;
  serveAll();
  EXPECT_EQ(Bytes(last_.begin(), last_.end()), Bytes(10, 'y'));
}

TEST_F(ServerMemory, TurnsComeOneByOneWhileSomebodyHoldsTooMuch) {
  const auto client = connect();
  Bytes frames;
  for (int i = 0; i < 10; ++i) channel::appendFrame(Bytes(10, 'x'), frames);
  ASSERT_EQ(write(client.get(), frames.data(), frames.size()), static_cast<ssize_t>(frames.size()));
  loop_.poll();
  ledger_.change(user_ + 1, 0, 9 * MiB);
  server_.serve(64);
  EXPECT_EQ(messages_, 0) << "it has read";
  server_.serve(64);
  server_.serve(64);
  EXPECT_EQ(messages_, 2);
  ledger_.change(user_ + 1, 9 * MiB, 0);
  server_.serve(64);
  EXPECT_EQ(messages_, 10);
}

TEST_F(ServerMemory, OfAConnectionIsAboutWhatTheAllocatorSpends) {
  if (testsupport::Sanitized) GTEST_SKIP() << "the sanitizer has an allocator of its own";
  constexpr std::size_t Count = 400;
  std::vector<sys::UniqueDescriptor> clients;
  clients.reserve(Count);
  connect();
  serveAll();
  const auto allocated = [] {
    const auto use = mallinfo2();
    return static_cast<double>(use.uordblks + use.hblkhd);
  };
  const double before = allocated();
  while (clients.size() < Count) clients.push_back(connect());
  serveAll();
  const double spent = (allocated() - before) / Count;
  RecordProperty("spent", std::to_string(spent));
  EXPECT_GT(double{StreamServer::ConnectionBytes}, 0.9 * spent);
  // Where pointers are smaller, it is less.
  EXPECT_LT(double{StreamServer::ConnectionBytes}, (sizeof(void*) == 8 ? 2 : 3) * spent);
}

}  // namespace
}  // namespace host
