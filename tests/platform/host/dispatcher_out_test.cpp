// What the dispatcher sends without being asked: events, credit for senders, changes of the graph.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/platform/host/dispatcher_fixture.h"

namespace host {
namespace {

TEST_F(DispatcherTest, EventsAreSentAtOnce) {
  const std::uint64_t session = attach("a");
  tap("a", session, "G0Out1");
  say("a control", 0, note(session, 1));
  EXPECT_EQ(peers_.texts("a events"), Texts{"events [1 G0Out1: 90 01 40]"});
  say("a control", 0, note(session, 2));
  EXPECT_EQ(peers_.texts("a events"), Texts{"events [1 G0Out1: 90 02 40]"});
}

TEST_F(DispatcherTest, EventsOfTheDeviceAreSentAtOnce) {
  tap("a", attach("a"), "G0Out1");
  device_->onAdvance = [](device::DriverEvents& events, Time now) {
    events.emitted(service::out(0, 0), {0, Bytes{0xF8}}, now);
    return std::optional(now + Time(5));
  };
  EXPECT_EQ(dispatcher_->advance(Time(10)), Time(15));
  EXPECT_EQ(peers_.texts("a events"), Texts{"events [1 G0Out1: F8]"});
}

TEST_F(DispatcherTest, EventsWaitForTheChannel) {
  const auto [session, window, token] = welcome("a control");
  tap("a", session, "G0Out1");
  say("a control", 0, note(session, 1));
  say("a events", 3, wire::OpenEvents{session, token});
  EXPECT_EQ(peers_.texts("a events"), (Texts{"3: ok at 0", "events [1 G0Out1: 90 01 40]"}));
}

// Bytes of entries in messages.
std::uint64_t entryBytes(const std::vector<Bytes>& messages) {
  std::uint64_t bytes = 0;
  for (const Bytes& message : messages) {
    const auto envelope = wire::decode(message);
    bytes += std::get<wire::Events>(envelope->body).entries.size();
  }
  return bytes;
}

TEST_F(DispatcherTest, EventsStopAtTheWindowAndContinueWithConsumed) {
  const std::uint64_t session = attach("a");
  tap("a", session, "G0Out1");
  Texts received;
  std::uint64_t onItsWay = 0;
  constexpr int Count = 2000;
  const auto takeAll = [&] {
    auto messages = peers_.take("a events");
    onItsWay += entryBytes(messages);
    for (const Bytes& message : messages) {
      const auto envelope = wire::decode(message);
      for (const auto& one : service::readEntries(std::get<wire::Events>(envelope->body).entries)) {
        received.push_back(one.text());
      }
    }
    return messages.size();
  };
  Texts expected;
  for (int i = 0; i < Count; ++i) {
    const auto number = static_cast<std::uint8_t>(i % 128);
    say("a control", 0, note(session, number));
    expected.push_back("1 G0Out1:" + service::hexOf(Bytes{0x90, number, 0x40}));
  }
  takeAll();
  EXPECT_LT(received.size(), expected.size());
  EXPECT_GE(onItsWay, wire::MinEventWindow);
  EXPECT_LE(onItsWay, wire::MinEventWindow + HolderBytes + 100) << "at most one event too many";
  do {
    say("a events", 0, wire::Consumed{session, onItsWay});
  } while (takeAll() > 0);
  EXPECT_EQ(received, expected);
}

TEST_F(DispatcherTest, ImpossibleConsumedIsIgnored) {
  const std::uint64_t session = attach("a");
  tap("a", session, "G0Out1");
  for (int i = 0; i < 1000; ++i) say("a control", 0, note(session, 1));
  peers_.take("a events");
  say("a events", 0, wire::Consumed{session, 1'000'000'000});
  say("a events", 0, wire::Consumed{session, 0});
  EXPECT_EQ(peers_.texts("a events"), Texts{});
}

TEST_F(DispatcherTest, SlowClientHoldsUpNobody) {
  const std::uint64_t slow = attach("slow");
  const std::uint64_t quick = attach("quick");
  tap("slow", slow, "G0Out1");
  tap("quick", quick, "G0Out1");
  std::uint64_t consumed = 0;
  std::size_t messages = 0;
  for (int i = 0; i < 3000; ++i) {
    say("quick control", 0, note(quick, 1));
    const auto sent = peers_.take("quick events");
    messages += sent.size();
    consumed += entryBytes(sent);
    say("quick events", 0, wire::Consumed{quick, consumed});
  }
  EXPECT_EQ(messages, 3000U);
  EXPECT_LE(entryBytes(peers_.take("slow events")), wire::MinEventWindow + HolderBytes + 100);
}

TEST_F(DispatcherTest, TakenIsSentEveryQuarterOfTheWindow) {
  const std::uint64_t session = attach("a");
  Texts told;
  for (std::uint8_t i = 0; i < 8; ++i) {
    say("a control", 0, note(session, i));
    for (const std::string& text : peers_.texts("a control")) told.push_back(std::to_string(i + 1) + ": " + text);
  }
  EXPECT_EQ(told, (Texts{"2: taken 2", "4: taken 4", "6: taken 6", "8: taken 8"}));
}

TEST_F(DispatcherTest, TakenIsSentWhenNoMessageIsReady) {
  const std::uint64_t one = attach("a");
  attach("b");
  say("a control", 0, note(one, 1));
  EXPECT_EQ(peers_.texts("a control"), Texts{});
  dispatcher_->tellTaken();
  EXPECT_EQ(peers_.texts("a control"), Texts{"taken 1"});
  EXPECT_EQ(peers_.texts("b control"), Texts{});
  dispatcher_->tellTaken();
  EXPECT_EQ(peers_.texts("a control"), Texts{});
}

TEST_F(DispatcherTest, SendWithoutSessionIsAnsweredWithoutBeingAsked) {
  const std::uint64_t session = attach("a");
  say("a control", 0, note(session + 1, 1));
  EXPECT_EQ(peers_.texts("a control"), Texts{"no session at 0"});
  say("stranger", 0, note(session, 1));
  EXPECT_EQ(peers_.texts("stranger"), Texts{"no session at 0"});
  say("a control", 3, wire::Goodbye{session});
  say("a control", 0, note(session, 1));
  EXPECT_EQ(peers_.texts("a control"), (Texts{"3: ok at 0", "no session at 0"}));
}

TEST_F(DispatcherTest, RefusedSendCountsAsTaken) {
  const std::uint64_t session = attach("a");
  say("a control", 0, wire::Send{session, EventPort, 0, {}});
  dispatcher_->tellTaken();
  EXPECT_EQ(peers_.texts("a control"), Texts{"taken 1"});
}

TEST_F(DispatcherTest, GraphChangesAreSentToAllClientsBeforeTheAnswer) {
  const std::uint64_t one = attach("a");
  attach("b");
  hello("without graph");
  peers_.order.clear();
  say("a control", 5, wire::Patch{one, true, {0, 0, 1, 1}});
  EXPECT_EQ(peers_.order.size(), 3U);
  EXPECT_EQ(peers_.order.back(), "a control");
  say("a control", 6, wire::Patch{one, false, {0, 0, 1, 1}});
  const Texts changes{"made 0.0>1.1 at 1", "gone 0.0>1.1 at 2"};
  EXPECT_EQ(peers_.texts("a graph"), changes);
  EXPECT_EQ(peers_.texts("b graph"), changes);
  EXPECT_EQ(peers_.texts("without graph"), Texts{});
}

TEST_F(DispatcherTest, ClientThatDoesNotReadGraphChangesIsToldOnceThatThereAreTooMany) {
  const std::uint64_t one = attach("a");
  const std::uint64_t two = attach("b");
  const auto change = [&](std::uint64_t times) {
    for (std::uint64_t i = 0; i < times; ++i) say("a control", 0, wire::Patch{one, i % 2 == 0, {0, 0, 1, 1}});
  };
  change(wire::MinGraphWindow);
  Texts texts = peers_.texts("b graph");
  EXPECT_EQ(texts.size(), wire::MinGraphWindow);
  EXPECT_EQ(texts.back(), "gone 0.0>1.1 at 256");
  change(10);
  EXPECT_EQ(peers_.texts("b graph"), Texts{"stale"});

  say("b control", 4, wire::AskLinks{two});
  EXPECT_EQ(peers_.texts("b control"), Texts{"4: links at 266"});
  change(1);
  EXPECT_EQ(peers_.texts("b graph"), Texts{"made 0.0>1.1 at 267"});
}

TEST_F(DispatcherTest, GraphChangesContinueWhenTheyAreSeen) {
  const std::uint64_t session = attach("a");
  for (std::uint64_t version = 1; version <= 3 * wire::MinGraphWindow; ++version) {
    say("a control", 0, wire::Patch{session, version % 2 == 1, {0, 0, 1, 1}});
    const Texts texts = peers_.texts("a graph");
    ASSERT_EQ(texts.size(), 1U);
    ASSERT_NE(texts[0], "stale");
    if (version % 64 == 0) say("a graph", 0, wire::GraphSeen{session, version});
  }
}

}  // namespace
}  // namespace host
