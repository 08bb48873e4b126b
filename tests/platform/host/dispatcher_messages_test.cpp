// Frames that carry many messages, and messages that make many copies.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/platform/host/dispatcher_fixture.h"

namespace host {
namespace {

class DispatcherMessages : public DispatcherTest {
 protected:
  static Bytes notes(std::uint64_t session, std::size_t count, const std::string& port = "G0Out1") {
    wire::Inject inject{session, port, {}};
    for (std::size_t i = 0; i < count; ++i) inject.messages.push_back({0, {0x90, numberOf(i), 0x40}});
    return wire::encode(9, inject);
  }

  static std::uint8_t numberOf(std::size_t i) { return static_cast<std::uint8_t>(i % 128); }

  // Taps the port with so many event ports of each of these clients.
  void tapMany(const std::vector<std::uint64_t>& sessions, const Texts& names, std::uint32_t eventPorts) {
    for (std::size_t client = 0; client < sessions.size(); ++client) {
      for (std::uint32_t port = 0; port < eventPorts; ++port) {
        say(names[client] + " control", 0, wire::Tap{sessions[client], port, HolderBytes, "G0Out1"});
      }
    }
  }

  std::uint64_t in() const { return service_->counts().in; }
  std::uint64_t copies() const { return service_->counts().out + service_->counts().lost; }
};

TEST_F(DispatcherMessages, LongInjectIsHandledInPiecesBetweenWhichOthersAreServed) {
  constexpr std::size_t Many = 1000;
  const std::uint64_t session = attach("a");
  const std::uint64_t other = attach("b");
  const Bytes frame = notes(session, Many);
  int turns = 0;
  std::uint32_t pieces = 0;
  for (bool all = false; !all; ++pieces) {
    const std::uint64_t before = in();
    const Handled handled = receive("a control", frame);
    all = handled.all;
    turns += handled.turns;
    EXPECT_LE(in() - before, 16U);
    EXPECT_GE(static_cast<std::uint64_t>(handled.turns), in() - before);
    say("b control", pieces + 1, wire::UntapAll{other, 1});
    EXPECT_EQ(peers_.texts("b control"), Texts{std::to_string(pieces + 1) + ": ok at 0"});
    dispatcher_->tellTaken();
    EXPECT_EQ(peers_.texts("a control"), all ? Texts{"taken 1"} : Texts{});
  }
  EXPECT_GE(pieces, Many / 16);
  EXPECT_GE(turns, static_cast<int>(Many));
  EXPECT_EQ(in(), Many);
}

TEST_F(DispatcherMessages, LongInjectKeepsItsOrder) {
  constexpr std::size_t Many = 100;
  const std::uint64_t session = attach("a");
  tap("a", session, "G0Out1");
  say("a control", notes(session, Many));
  say("a control", notes(session, 1));
  std::string expected;
  for (std::size_t i = 0; i <= Many; ++i) {
    expected += service::hexOf(Bytes{0x90, numberOf(i < Many ? i : 0), 0x40});
  }
  std::string received;
  for (const Bytes& message : peers_.take("a events")) {
    const auto envelope = wire::decode(message);
    for (const auto& event : service::readEntries(std::get<wire::Events>(envelope->body).entries)) {
      received += event.text().substr(event.text().find(':') + 1);
    }
  }
  EXPECT_EQ(received, expected);
}

TEST_F(DispatcherMessages, FirstMessageThatFailsEndsTheRest) {
  const std::uint64_t session = attach("a");
  wire::Inject inject{session, "G0Out1", {}};
  for (std::size_t i = 0; i < 50; ++i) inject.messages.push_back({0, i == 20 ? Bytes{} : Bytes{0xF8}});
  say("a control", 9, inject);
  EXPECT_EQ(peers_.texts("a control"), Texts{"9: bad request at 0"});
  EXPECT_EQ(in(), 20U);
  dispatcher_->tellTaken();
  EXPECT_EQ(peers_.texts("a control"), Texts{"taken 1"});
  say("a control", notes(session, 3));
  EXPECT_EQ(in(), 23U) << "the next frame begins at its beginning";
}

TEST_F(DispatcherMessages, MalformedInjectDoesNothing) {
  const std::uint64_t session = attach("a");
  Bytes frame = notes(session, 100);
  frame.pop_back();
  EXPECT_TRUE(receive("a control", frame).all);
  EXPECT_EQ(peers_.texts("a control"), Texts{"9: bad request at 0"});
  EXPECT_EQ(in(), 0U);
}

TEST_F(DispatcherMessages, EmptyInjectIsTaken) {
  const std::uint64_t session = attach("a");
  EXPECT_TRUE(receive("a control", notes(session, 0)).all);
  EXPECT_TRUE(receive("a control", notes(session, 0, "Nowhere")).all);
  dispatcher_->tellTaken();
  EXPECT_EQ(peers_.texts("a control"), Texts{"taken 2"});
}

// A copy is work like a message: who injects into a port with many taps gets fewer messages a turn.
TEST_F(DispatcherMessages, CopiesCount) {
  const std::uint64_t session = attach("a");
  tapMany({session}, {"a"}, 400);
  const Bytes frame = notes(session, 30);
  int pieces = 0;
  for (bool all = false; !all; ++pieces) {
    const std::uint64_t before = copies();
    const Handled handled = receive("a control", frame);
    all = handled.all;
    EXPECT_LE(copies() - before, 1200U);
    EXPECT_GE(handled.turns, static_cast<int>((copies() - before) / 16));
  }
  EXPECT_EQ(pieces, 10);
  EXPECT_EQ(copies(), 30U * 400);
}

TEST_F(DispatcherMessages, MessageOnItsWayHoldsUpOnlyMessages) {
  const std::vector<std::uint64_t> sessions{attach("a"), attach("b"), attach("c"), attach("d"), attach("e")};
  tapMany(sessions, {"a", "b", "c", "d", "e"}, 1000);
  const std::uint64_t other = attach("other");
  const Bytes send = wire::encode(0, wire::Send{sessions[0], 0, 0, {0xF8}});
  EXPECT_FALSE(receive("a control", send).all);
  EXPECT_LT(copies(), 5000U);
  // The same again is no second message.
  EXPECT_FALSE(receive("a control", send).all);
  EXPECT_EQ(in(), 1U);
  EXPECT_FALSE(receive("other control", notes(other, 1)).all);
  EXPECT_EQ(receive("other control", notes(other, 1)).turns, 0);
  EXPECT_FALSE(receive("other control", wire::encode(0, note(other, 1))).all);
  EXPECT_EQ(in(), 1U);
  say("b control", 5, wire::Untap{sessions[1], 7, "G0Out1"});
  EXPECT_EQ(peers_.texts("b control"), Texts{"5: ok at 0"});
  dispatcher_->tellTaken();
  EXPECT_EQ(peers_.texts("a control"), Texts{});
  int rounds = 0;
  for (; service_->isPassing(); ++rounds) {
    const auto next = dispatcher_->advance(Time(1));
    EXPECT_EQ(next == Time(1), service_->isPassing());
  }
  EXPECT_GE(rounds, 2);
  EXPECT_TRUE(receive("a control", send).all);
  EXPECT_EQ(in(), 1U);
  dispatcher_->tellTaken();
  EXPECT_EQ(peers_.texts("a control"), Texts{"taken 1"});
  EXPECT_EQ(copies(), 5000U);
  say("other control", notes(other, 1));
  EXPECT_EQ(in(), 2U);
}

TEST_F(DispatcherMessages, ClientMayEndInTheMiddleOfAFrame) {
  const std::uint64_t session = attach("a");
  EXPECT_FALSE(receive("a control", notes(session, 100)).all);
  hangUp("a control");
  EXPECT_EQ(in(), 16U);
  // Its connection serves another client from the beginning.
  const std::uint64_t next = hello("a control");
  say("a control", notes(next, 2));
  EXPECT_EQ(in(), 18U);
}

}  // namespace
}  // namespace host
