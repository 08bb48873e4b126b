// Answers in pieces, and services that send other pieces than they should.
#include <gtest/gtest.h>
#include <poll.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/channel/control_channel.h"
#include "tests/platform/channel/raw_service.h"

namespace channel {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr wire::Part First{.first = true, .more = true};
constexpr wire::Part Middle{.first = false, .more = true};
constexpr wire::Part Last{.first = false, .more = false};

// The time of a request that gets no answer, and ten times as much.
constexpr auto RequestTime = 300ms;
constexpr auto Allowed = 3000ms;

// A client that asks for the connections, once.
class Client {
 public:
  explicit Client(RawService::Answer answer) : service_(std::move(answer)) {
    EXPECT_TRUE(channel_.greet(Deadline(AnswerTime)));
  }

  std::optional<wire::Links> ask(std::chrono::milliseconds patience) {
    const auto start = Clock::now();
    auto answer = channel_.ask<wire::Links>(wire::AskLinks{channel_.session()}, Deadline(patience));
    taken_ = Clock::now() - start;
    return answer;
  }

  bool sendNote() { return channel_.send(1, 0, std::vector<std::uint8_t>{0x90, 1, 1}); }

  // The request gets no answer, and ends when its time has passed.
  void expectTimeout() {
    EXPECT_FALSE(ask(RequestTime));
    EXPECT_GE(taken_, RequestTime);
    EXPECT_LT(taken_, Allowed);
    EXPECT_EQ(channel_.fault(), std::nullopt);
  }

  // The request ends early, and the connection with it.
  void expectFault(const std::string& fault) {
    EXPECT_FALSE(ask(60s));
    EXPECT_LT(taken_, 50s);
    EXPECT_EQ(channel_.fault(), fault);
    EXPECT_TRUE(channel_.lost());
    EXPECT_FALSE(channel_.ask<wire::Links>(wire::AskLinks{}, Deadline(60s))) << "at once";
    EXPECT_EQ(channel_.fault(), fault);
  }

 private:
  RawService service_;
  Connector connector_ = service_.connector();
  ControlChannel channel_{connector_};
  Clock::duration taken_{};
};

wire::Links links(std::uint16_t count, wire::Part part) {
  wire::Links links{4, {}, part};
  for (std::uint16_t i = 0; i < count; ++i) links.links.push_back({{1, i, 2, i}});
  return links;
}

TEST(AnswerInPieces, IsJoined) {
  Client client([](RawService& service, std::uint32_t tag) {
    service.write(tag, links(2, First));
    service.write(tag + 1, links(9, Last));
    service.write(0, wire::Taken{0});
    service.write(tag, links(0, Middle));
    service.write(tag, links(1, Last));
  });
  const auto answer = client.ask(60s);
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->version, 4U);
  EXPECT_EQ(answer->links, (std::vector<wire::LinkRecord>{{{1, 0, 2, 0}}, {{1, 1, 2, 1}}, {{1, 0, 2, 0}}}));
}

TEST(AnswerInPieces, ThatStopsInTheMiddleOfAPieceTakesTheTimeOfOneRequest) {
  Client client([](RawService& service, std::uint32_t tag) {
    service.write(tag, links(100, First));
    const auto piece = RawService::frame(tag, links(100, Middle));
    service.write(std::span(piece).first(piece.size() / 2));
  });
  client.expectTimeout();
}

TEST(AnswerInPieces, ThatComesByteByByteTakesTheTimeOfOneRequest) {
  Client client([](RawService& service, std::uint32_t tag) {
    const auto piece = RawService::frame(tag, links(40'000, First));
    for (const std::uint8_t& byte : piece) {
      if (!service.write({&byte, 1})) return;
    }
  });
  client.expectTimeout();
}

TEST(AnswerInPieces, OfPiecesWithoutEndTakesTheTimeOfOneRequest) {
  Client client([](RawService& service, std::uint32_t tag) {
    service.write(tag, links(0, First));
    while (service.write(tag, links(0, Middle))) poll(nullptr, 0, 1);
  });
  client.expectTimeout();
}

TEST(AnswerInPieces, ThatBeginsAgainAndAgainTakesTheTimeOfOneRequest) {
  Client client([](RawService& service, std::uint32_t tag) {
    const auto piece = RawService::frame(tag, links(1000, First));
    while (service.write(piece)) continue;
  });
  client.expectTimeout();
}

TEST(AnswerInPieces, BehindAFloodOfOtherMessagesTakesTheTimeOfOneRequest) {
  Client client([](RawService& service, std::uint32_t /*tag*/) {
    std::vector<std::uint8_t> flood;
    while (flood.size() < 64U << 10U) {
      const auto taken = RawService::frame(0, wire::Taken{0});
      flood.insert(flood.end(), taken.begin(), taken.end());
    }
    while (service.write(flood)) continue;
  });
  client.expectTimeout();
}

TEST(AnswerInPieces, WithoutEndIsRefused) {
  Client client([](RawService& service, std::uint32_t tag) {
    service.write(tag, links(0, First));
    const auto piece = RawService::frame(tag, links(10'000, Middle));
    while (service.write(piece)) continue;
  });
  client.expectFault("the service sent an answer that is too long");
}

TEST(AnswerInPieces, WhosePiecesDoNotFitIsRefused) {
  Client client([](RawService& service, std::uint32_t tag) {
    service.write(tag, links(1, First));
    wire::Links other = links(1, Last);
    ++other.version;
    service.write(tag, other);
  });
  client.expectFault("the service sent an answer whose pieces do not fit together");
}

TEST(AnswerInPieces, MessageThatIsTooLongIsRefusedBeforeItIsRead) {
  Client client([](RawService& service, std::uint32_t /*tag*/) {
    const auto front = static_cast<std::uint32_t>(MaxFrameBytes + 1);
    std::vector<std::uint8_t> bytes;
    for (unsigned shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<std::uint8_t>(front >> shift));
    bytes.push_back(0xE5);
    service.write(bytes);
  });
  client.expectFault("the service sent a message that is too long");
}

// For a thread that waits for another one.
void await(const std::atomic<bool>& flag) {
  while (!flag) poll(nullptr, 0, 1);
}

TEST(AnswerTooLate, IsTakenBeforeAMessageIsSent) {
  std::atomic<bool> isBegun{false};
  std::atomic<bool> isTimedOut{false};
  std::atomic<bool> isOver{false};
  Client client([&](RawService& service, std::uint32_t tag) {
    service.write(tag, links(1, First));
    isBegun = true;
    await(isTimedOut);
    for (int piece = 0; piece < 20; ++piece) {
      service.write(tag, links(1, Middle));
      poll(nullptr, 0, 10);
    }
    isOver = true;
    service.write(tag, links(1, Last));
  });
  client.expectTimeout();
  await(isBegun);
  isTimedOut = true;
  EXPECT_TRUE(client.sendNote());
  EXPECT_TRUE(isOver) << "until then, a service reads nothing";
}

TEST(AnswerTooLate, CostsNothingWhenItIsTaken) {
  std::atomic<bool> isBegun{false};
  std::atomic<bool> isTimedOut{false};
  std::atomic<bool> isTaken{false};
  std::atomic<bool> isForgotten{false};
  Client client([&](RawService& service, std::uint32_t tag) {
    service.write(tag, links(1, First));
    isBegun = true;
    await(isTimedOut);
    service.write(tag, links(1, Last));
    await(isTaken);
    service.write(0, wire::Result{device::Status::NoSession, 0});
    isForgotten = true;
  });
  client.expectTimeout();
  await(isBegun);
  isTimedOut = true;
  EXPECT_TRUE(client.sendNote());
  isTaken = true;
  await(isForgotten);
  // As always, a sender reads when half of the window of 100 messages is used up.
  int sent = 1;
  while (sent < 100 && client.sendNote()) ++sent;
  EXPECT_EQ(sent, 50);
}

// Sends several messages; if each of them waited, it would take much longer.
void expectAtMostOneWait(Client& client) {
  const auto start = Clock::now();
  for (int message = 0; message < 20; ++message) EXPECT_TRUE(client.sendNote());
  EXPECT_LT(Clock::now() - start, 10 * AnswerTime);
}

TEST(AnswerTooLate, ThatStopsInTheMiddleHoldsUpOneMessage) {
  Client client([](RawService& service, std::uint32_t tag) { service.write(tag, links(1, First)); });
  client.expectTimeout();
  expectAtMostOneWait(client);
}

TEST(AnswerTooLate, ThatHasNotBegunHoldsUpNoMessage) {
  Client client([](RawService& /*service*/, std::uint32_t /*tag*/) {});
  client.expectTimeout();
  expectAtMostOneWait(client);
}

TEST(AnswerInPieces, LongestMessageIsTaken) {
  Client client([](RawService& service, std::uint32_t tag) {
    wire::Links all = links(0, {});
    all.links.resize((MaxFrameBytes - 64) / 21);
    service.write(tag, all);
  });
  const auto answer = client.ask(60s);
  ASSERT_TRUE(answer);
  EXPECT_GT(answer->links.size(), 50'000U);
}

}  // namespace
}  // namespace channel
