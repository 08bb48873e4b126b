#include "platform/host/stream_server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/channel/connection.h"
#include "platform/system/local_socket.h"
#include "tests/platform/streamd/raw_socket.h"
#include "tests/support/deadline.h"
#include "tests/support/scratch_folder.h"

namespace host {
namespace {

using testsupport::Deadline;
using Bytes = std::vector<std::uint8_t>;
using Texts = std::vector<std::string>;

constexpr std::chrono::seconds Patience{20};

class StreamServerTest : public testing::Test {
 protected:
  channel::Connection connect() {
    auto [ours, theirs] = sys::localSocketPair();
    server_.adopt(std::move(theirs));
    return channel::Connection(std::move(ours));
  }

  // One round of the loop, with so many turns.
  bool round(int turns) {
    loop_.poll();
    const bool more = server_.serve(turns);
    server_.flush();
    return more;
  }

  // Rounds until nothing is left to do.
  void serveAll() {
    while (loop_.poll() > 0 || round(64)) continue;
  }

  // Rounds until so many connections have been read.
  void serveAllRead(std::size_t connections) {
    const Deadline deadline(Patience);
    while (std::set<std::string>(events_.begin(), events_.end()).size() < connections && !deadline.passed()) round(64);
  }

  asio::io_context loop_;
  Texts events_;  // "1: hi", "1 closed"
  Texts log_;
  StreamServer server_{loop_,
                       {[](ConnectionId) {},
                        [this](ConnectionId from, std::span<const std::uint8_t> message) {
                          events_.push_back(nameOf(from) + ": " + std::string(message.begin(), message.end()));
                          if (echoes_) server_.send(from, message);
                          if (message.size() == 1 && message[0] == '+') server_.continueLater(from);
                          return message.size() == 4 ? handled_ : Handled{};
                        },
                        [this](ConnectionId connection) { events_.push_back(nameOf(connection) + " closed"); },
                        [this](ConnectionId connection) {
                          events_.push_back(nameOf(connection) + " continues");
                          if (continue_) continue_(connection);
                        }},
                       [this](std::string_view line) { log_.emplace_back(line); }};
  bool echoes_ = false;
  Handled handled_;
  std::function<void(ConnectionId connection)> continue_;
  asio::executor_work_guard<asio::io_context::executor_type> work_ = asio::make_work_guard(loop_);

  static std::string nameOf(ConnectionId id) { return std::to_string(static_cast<std::uint64_t>(id)); }
};

Bytes bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

TEST_F(StreamServerTest, MessagesComeWholeAndInOrderThenTheEnd) {
  {
    channel::Connection client = connect();
    for (const char* text : {"one", "", "two"}) EXPECT_TRUE(client.send(bytesOf(text)));
  }
  serveAll();
  EXPECT_EQ(events_, (Texts{"1: one", "1: ", "1: two", "1 closed"}));
}

TEST_F(StreamServerTest, AnswersReachTheirConnection) {
  echoes_ = true;
  channel::Connection one = connect();
  channel::Connection two = connect();
  one.send(bytesOf("one"));
  two.send(bytesOf("two"));
  serveAll();
  for (auto* client : {&one, &two}) {
    const auto answer = client->receive();
    ASSERT_TRUE(answer);
    EXPECT_EQ(Bytes(answer->begin(), answer->end()), bytesOf(client == &one ? "one" : "two"));
  }
}

TEST_F(StreamServerTest, FrameThatIsTooLongEndsItsConnection) {
  auto [ours, theirs] = sys::localSocketPair();
  server_.adopt(std::move(theirs));
  const Bytes front{0xFF, 0xFF, 0xFF, 0x7F, 'x'};
  ASSERT_EQ(write(ours.get(), front.data(), front.size()), static_cast<ssize_t>(front.size()));
  serveAll();
  EXPECT_EQ(events_, Texts{"1 closed"});
}

TEST_F(StreamServerTest, FrameThatIsTooLongEndsItsConnectionBehindGoodOnes) {
  auto [ours, theirs] = sys::localSocketPair();
  server_.adopt(std::move(theirs));
  const Bytes bytes{1, 0, 0, 0, 'a', 1, 0, 0, 0, 'b', 0xFF, 0xFF, 0xFF, 0x7F};
  ASSERT_EQ(write(ours.get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  serveAll();
  EXPECT_EQ(events_, (Texts{"1: a", "1: b", "1 closed"}));
}

// What arrives while the messages of a read are handled is read later, though that read took all that was there.
TEST_F(StreamServerTest, NothingIsForgottenBetweenARoundAndTheNext) {
  channel::Connection client = connect();
  Texts expected;
  for (int i = 0; i < 20; ++i) {
    client.send(bytesOf("m"));
    round(i % 4);
    expected.emplace_back("1: m");
  }
  serveAll();
  EXPECT_EQ(events_, expected);
}

TEST_F(StreamServerTest, RestOfAFrameThatNeverComesIsNoMessage) {
  {
    auto [ours, theirs] = sys::localSocketPair();
    server_.adopt(std::move(theirs));
    const Bytes half{5, 0, 0, 0, 'h', 'a', 'l', 'f'};
    ASSERT_EQ(write(ours.get(), half.data(), half.size()), static_cast<ssize_t>(half.size()));
    serveAll();
    EXPECT_EQ(events_, Texts{});
  }
  serveAll();
  EXPECT_EQ(events_, Texts{"1 closed"});
}

TEST_F(StreamServerTest, FloodDoesNotKeepOthersWaiting) {
  channel::Connection flood = connect();
  channel::Connection other = connect();
  for (int i = 0; i < 250; ++i) flood.send(bytesOf("f"));
  round(1);  // has read, and handles what it has read
  other.send(bytesOf("o"));
  for (int i = 0; i < 4; ++i) round(16);
  EXPECT_THAT(events_, testing::Contains("2: o"));
  EXPECT_LT(events_.size(), 100U);
  serveAll();
  EXPECT_EQ(events_.size(), 251U);
}

TEST_F(StreamServerTest, MessageInPiecesLetsOthersHaveTheirTurnButNotItsOwnConnection) {
  channel::Connection busy = connect();
  channel::Connection other = connect();
  busy.send(bytesOf("long"));
  busy.send(bytesOf("next"));
  handled_ = {.all = false, .turns = 1};
  round(1);  // has read
  other.send(bytesOf("o"));
  for (int i = 0; i < 4; ++i) round(16);
  EXPECT_THAT(events_, testing::Contains("2: o"));
  EXPECT_THAT(events_, testing::Not(testing::Contains("1: next")));
  EXPECT_GT(std::ranges::count(events_, "1: long"), 10);
  handled_ = {};
  serveAll();
  EXPECT_EQ(std::ranges::count(events_, "1: next"), 1);
}

TEST_F(StreamServerTest, MessageThatCostsManyTurnsEndsTheRound) {
  channel::Connection costly = connect();
  channel::Connection other = connect();
  for (int i = 0; i < 10; ++i) costly.send(bytesOf("cost"));
  for (int i = 0; i < 10; ++i) other.send(bytesOf("same"));
  handled_ = {.all = true, .turns = 16};
  round(2);  // both have been read
  events_.clear();
  round(64);
  EXPECT_LE(events_.size(), 5U);
  EXPECT_THAT(events_, testing::Contains("1: cost"));
  EXPECT_THAT(events_, testing::Contains("2: same"));
}

TEST_F(StreamServerTest, MessageThatHasToWaitKeepsNobodyElseWaiting) {
  std::vector<channel::Connection> waiting;
  for (int i = 0; i < 30; ++i) {
    waiting.push_back(connect());
    waiting.back().send(bytesOf("wait"));
  }
  handled_ = {.all = false, .turns = 0};
  serveAllRead(30);
  channel::Connection other = connect();
  other.send(bytesOf("o"));
  round(64);
  round(64);
  EXPECT_THAT(events_, testing::Contains("31: o"));
  handled_ = {};
  events_.clear();
  serveAll();
  EXPECT_EQ(events_.size(), 30U);
}

// What has arrived is handled to its end, also if its sender has gone meanwhile.
TEST_F(StreamServerTest, MessageInPiecesIsHandledToItsEndBeforeTheClosing) {
  handled_ = {.all = false, .turns = 1};
  {
    channel::Connection client = connect();
    client.send(bytesOf("long"));
    client.send(bytesOf("last"));
    round(8);
  }
  for (int i = 0; i < 10; ++i) round(8);
  EXPECT_THAT(events_, testing::Each("1: long"));
  handled_ = {};
  serveAll();
  ASSERT_GT(events_.size(), 2U);
  EXPECT_EQ(Texts(events_.end() - 2, events_.end()), (Texts{"1: last", "1 closed"}));
}

TEST_F(StreamServerTest, WritesToManyConnectionsInPieces) {
  constexpr std::uint64_t Many = 400;
  std::vector<channel::Connection> clients;
  for (std::uint64_t i = 0; i < Many; ++i) clients.push_back(connect());
  for (std::uint64_t i = 1; i <= Many; ++i) server_.send(ConnectionId{i}, bytesOf("news"));
  const auto received = [&] {
    return std::ranges::count_if(clients, [](channel::Connection& client) { return client.receive().has_value(); });
  };
  server_.flush();
  EXPECT_TRUE(server_.hasWork());
  const auto first = received();
  EXPECT_GT(first, 0);
  EXPECT_LT(first, static_cast<std::ptrdiff_t>(Many));
  server_.flush();
  EXPECT_FALSE(server_.hasWork());
  EXPECT_EQ(first + received(), static_cast<std::ptrdiff_t>(Many));
}

TEST_F(StreamServerTest, PeerThatTakesNothingIsNotReadFrom) {
  echoes_ = true;
  channel::Connection deaf = connect();
  const Bytes big(100'000, 'x');
  std::size_t sent = 0;
  // Each is flushed before the next; the server answers as long as it reads.
  const auto sendOne = [&] {
    if (!deaf.send(big)) return false;
    const Deadline deadline(Patience);
    while (!deaf.flush(channel::Deadline(std::chrono::milliseconds(0)))) {
      const std::size_t before = events_.size();
      serveAll();
      if (events_.size() == before) return false;
      if (deadline.passed()) return false;
    }
    serveAll();
    return true;
  };
  while (sent < 1'000 && sendOne()) ++sent;
  EXPECT_GT(sent, 5U);
  EXPECT_LT(sent, 30U) << "what waits is bounded";
  // It reads: everything is handled and answered.
  std::size_t answers = 0;
  const Deadline deadline(Patience);
  while (answers < sent + 1 && !deadline.passed()) {
    while (deaf.receive()) ++answers;
    serveAll();
  }
  EXPECT_EQ(answers, sent + 1);
}

TEST_F(StreamServerTest, ConnectionThatContinuesIsNotHeardBeforeItsEnd) {
  channel::Connection client = connect();
  int left = 3;
  continue_ = [&](ConnectionId id) {
    if (--left > 0) server_.continueLater(id);
  };
  for (const char* text : {"a", "+", "b"}) client.send(bytesOf(text));
  serveAll();
  EXPECT_EQ(events_, (Texts{"1: a", "1: +", "1 continues", "1 continues", "1 continues", "1: b"}));
}

TEST_F(StreamServerTest, ConnectionsThatContinueShareTheTurns) {
  constexpr std::size_t Clients = 30;
  const Bytes piece(100'000, 'p');
  const auto begun = [&] { return std::ranges::count_if(events_, [](const auto& e) { return e.ends_with("+"); }); };
  bool haveAllBegun = false;
  continue_ = [&](ConnectionId id) {
    if (haveAllBegun) server_.send(id, piece);
    server_.continueLater(id);
  };
  std::vector<channel::Connection> clients;
  for (std::size_t i = 0; i < Clients; ++i) {
    clients.push_back(connect());
    clients.back().send(bytesOf("+"));
  }
  const Deadline deadline(Patience);
  while (begun() < static_cast<int>(Clients) && !deadline.passed()) round(1);
  haveAllBegun = true;
  events_.clear();
  round(64);
  const auto pieces = events_.size();
  EXPECT_GE(pieces, 1U);
  EXPECT_LE(pieces, 6U) << "a round does not take longer because many answers are long";
  std::ranges::sort(events_);
  EXPECT_EQ(std::ranges::adjacent_find(events_), events_.end()) << "each has one turn before any has two";
}

TEST_F(StreamServerTest, LongAnswersTakeOneTurnInARoundAfterTheOthers) {
  constexpr std::size_t Clients = 64;
  continue_ = [&](ConnectionId id) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    server_.continueLater(id);
  };
  std::vector<channel::Connection> clients;
  for (std::size_t i = 0; i < Clients; ++i) {
    clients.push_back(connect());
    clients.back().send(bytesOf("+"));
  }
  const auto isQuestion = [](const std::string& event) { return event.ends_with("+"); };
  const auto isPiece = [](const std::string& event) { return event.ends_with("continues"); };
  std::size_t questions = 0;
  for (const Deadline deadline(Patience); questions < Clients && !deadline.passed();) {
    events_.clear();
    round(64);
    questions += static_cast<std::size_t>(std::ranges::count_if(events_, isQuestion));
    EXPECT_LE(std::ranges::count_if(events_, isPiece), 1);
  }
  ASSERT_EQ(questions, Clients);
  channel::Connection other = connect();
  Texts pieces;
  for (std::size_t i = 0; i < Clients; ++i) {
    other.send(bytesOf("o"));
    events_.clear();
    round(64);
    ASSERT_EQ(std::ranges::count_if(events_, isPiece), 1);
    EXPECT_TRUE(isPiece(events_.back())) << "after the messages of others";
    pieces.push_back(events_.back());
  }
  std::ranges::sort(pieces);
  EXPECT_EQ(std::ranges::adjacent_find(pieces), pieces.end()) << "each has one before any has two";
}

TEST_F(StreamServerTest, ShortAnswersDoNotTakeARoundEach) {
  constexpr std::size_t Clients = 200;
  std::vector<channel::Connection> clients;
  for (std::size_t i = 0; i < Clients; ++i) {
    clients.push_back(connect());
    clients.back().send(bytesOf("+"));
  }
  int rounds = 0;
  for (const Deadline deadline(Patience); events_.size() < 2 * Clients && !deadline.passed(); ++rounds) round(64);
  EXPECT_EQ(events_.size(), 2 * Clients);
  EXPECT_LT(rounds, static_cast<int>(Clients) / 2);
}

TEST_F(StreamServerTest, OnlyAClientThatTakesNothingWaitsForItsAnswer) {
  const Bytes piece(100'000, 'p');
  std::size_t left = 200;
  continue_ = [&](ConnectionId id) {
    server_.send(id, piece);
    if (--left > 0) server_.continueLater(id);
  };
  channel::Connection slow = connect();
  channel::Connection other = connect();
  for (const char* text : {"+", "after"}) slow.send(bytesOf(text));
  serveAll();
  EXPECT_GT(left, 180U) << "what waits is bounded";
  other.send(bytesOf("o"));
  serveAll();
  EXPECT_EQ(events_.back(), "2: o");
  std::size_t pieces = 0;
  for (const Deadline deadline(Patience); pieces < 200 && !deadline.passed();) {
    while (slow.receive()) ++pieces;
    serveAll();
  }
  EXPECT_EQ(pieces, 200U);
  EXPECT_EQ(events_.back(), "1: after");
}

TEST_F(StreamServerTest, NobodyContinuesForAClientThatHasGone) {
  const Bytes piece(100'000, 'p');
  continue_ = [&](ConnectionId id) {
    server_.send(id, piece);
    server_.continueLater(id);
  };
  {
    channel::Connection client = connect();
    client.send(bytesOf("+"));
    serveAll();
  }
  const std::size_t before = events_.size();
  serveAll();
  EXPECT_LE(events_.size(), before + 2);
  EXPECT_EQ(events_.back(), "1 closed");
}

TEST_F(StreamServerTest, ConnectionThatIsToEndIsReadFirst) {
  channel::Connection client = connect();
  client.send(bytesOf("before"));
  loop_.poll();
  server_.endAfterReading(ConnectionId{1});
  serveAll();
  EXPECT_EQ(events_, (Texts{"1: before", "1 closed"}));
  EXPECT_TRUE(client.closed());
  server_.endAfterReading(ConnectionId{1});
  server_.send(ConnectionId{1}, bytesOf("nobody"));
}

TEST_F(StreamServerTest, DisconnectedPeerIsNotHeardAnyMore) {
  channel::Connection client = connect();
  client.send(bytesOf("too late"));
  round(0);
  server_.disconnect(ConnectionId{1});
  server_.disconnect(ConnectionId{1});
  serveAll();
  EXPECT_EQ(events_, Texts{});
  EXPECT_TRUE(client.closed());
}

TEST_F(StreamServerTest, PeerThatDiesWithoutReadingIsNoticed) {
  echoes_ = true;
  {
    channel::Connection deaf = connect();
    for (int i = 0; i < 40; ++i) {
      deaf.send(Bytes(100'000, 'x'));
      deaf.flush(channel::Deadline(std::chrono::milliseconds(0)));
      serveAll();
    }
  }
  serveAll();
  EXPECT_EQ(events_.back(), "1 closed");
}

TEST_F(StreamServerTest, ConnectionsThatComeAndGoLeaveNothing) {
  constexpr int Many = 3'000;
  const testsupport::ScratchFolder folder;
  const std::string path = folder.path() / "socket";
  ASSERT_EQ(server_.listen(path), std::nullopt);
  const Deadline deadline(Patience);
  int came = 0;
  while (came < Many && !deadline.passed()) {
    if (streamd::RawSocket(path, SOCK_NONBLOCK).connected()) ++came;
    if (came % 100 == 0) serveAll();
  }
  serveAll();
  EXPECT_EQ(came, Many);
  EXPECT_EQ(std::ranges::count_if(events_, [](const auto& event) { return event.ends_with(" closed"); }), Many);
}

TEST_F(StreamServerTest, ClosesAllAtTheEnd) {
  channel::Connection one = connect();
  channel::Connection two = connect();
  serveAll();
  server_.closeAll();
  EXPECT_TRUE(one.closed());
  EXPECT_TRUE(two.closed());
  EXPECT_EQ(events_, Texts{}) << "nobody is told";
}

}  // namespace
}  // namespace host
