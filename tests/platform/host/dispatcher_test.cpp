#include "platform/host/dispatcher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "tests/platform/host/dispatcher_fixture.h"

namespace host {
namespace {

TEST_F(DispatcherTest, HelloMakesClientWithSessionOfItsOwn) {
  const std::uint64_t one = hello("a");
  const std::uint64_t two = hello("b");
  EXPECT_NE(one, 0U);
  EXPECT_NE(two, 0U);
  EXPECT_NE(one, two);
  EXPECT_EQ(log_, (Texts{"test (process 5) has come", "test (process 5) has come"}));
}

TEST_F(DispatcherTest, WelcomeTellsSendWindow) {
  say("a", 3, wire::Hello{"test", 5});
  EXPECT_EQ(peers_.texts("a"), Texts{"3: welcome, window 8"});
}

TEST_F(DispatcherTest, SecondHelloOfOnePeerIsOutOfPlace) {
  hello("a");
  say("a", 2, wire::Hello{"again", 5});
  EXPECT_EQ(peers_.texts("a"), Texts{"2: bad request at 0"});
}

TEST_F(DispatcherTest, NameOfProgramReachesLogPrintable) {
  say("a", 1, wire::Hello{"\x1b[2J\n", 5});
  EXPECT_EQ(log_, Texts{"?[2J? (process 5) has come"});
}

TEST_F(DispatcherTest, GoodbyeIsAnsweredAndEndsTheClient) {
  const std::uint64_t session = attach("a");
  tap("a", session, "G0Out1");
  say("a control", 3, wire::Goodbye{session});
  EXPECT_EQ(peers_.texts("a control"), Texts{"3: ok at 0"});
  EXPECT_EQ(told_, (service::Told{"start", "use G0Out1", "unuse G0Out1"}));
  say("a control", 4, wire::Tap{session, EventPort, HolderBytes, "G0Out1"});
  EXPECT_EQ(peers_.texts("a control"), Texts{"4: no session at 0"});
  EXPECT_EQ(log_.back(), "test (process 5) has left");
}

TEST_F(DispatcherTest, PeerMayGreetAgainAfterGoodbye) {
  say("a", 2, wire::Goodbye{hello("a")});
  peers_.take("a");
  EXPECT_NE(hello("a"), 0U);
}

TEST_F(DispatcherTest, RequestsAreAnsweredWithTheirTag) {
  const std::uint64_t session = attach("a");
  const std::vector<std::pair<wire::Body, std::string>> table = {
      {wire::AskTopology{session}, "topology G0 G1"},
      {wire::AskLinks{session}, "links at 0"},
      {wire::Tap{session, EventPort, HolderBytes, "G0Out1"}, "ok at 0"},
      {wire::Tap{session, EventPort, HolderBytes, "G0Out1"}, "ok at 0"},
      {wire::Tap{session, EventPort, HolderBytes, "Nobody"}, "not found at 0"},
      {wire::Untap{session, EventPort, "G0Out1"}, "ok at 0"},
      {wire::Untap{session, EventPort, "G0Out1"}, "nothing at 0"},
      {wire::UntapAll{session, EventPort}, "ok at 0"},
      {wire::Patch{session, true, 0, 0, 1, 1}, "ok at 1"},
      {wire::Patch{session, true, 0, 0, 1, 1}, "ok at 1"},
      {wire::AskLinks{session}, "links at 1 0.0>1.1"},
      {wire::Patch{session, true, 0, 0, 1, 2}, "not found at 1"},
      {wire::Patch{session, false, 0, 0, 1, 1}, "ok at 2"},
      {wire::Patch{session, false, 0, 0, 1, 1}, "not found at 2"},
  };
  std::uint32_t tag = 10;
  for (const auto& [request, answer] : table) {
    say("a control", ++tag, request);
    EXPECT_EQ(peers_.texts("a control"), Texts{std::to_string(tag) + ": " + answer});
  }
}

TEST_F(DispatcherTest, WhatIsOutOfPlaceIsAnsweredAndHarmsNobody) {
  const std::uint64_t session = attach("a");
  const std::uint64_t other = attach("b");
  tap("b", other, "G0Out1");
  struct Row {
    std::string peer;
    wire::Body body;
    std::string answer;
  };
  const std::vector<Row> table = {
      // Nobody speaks for another.
      {"stranger", wire::Goodbye{session}, "no session"},
      {"b control", wire::Tap{session, EventPort, HolderBytes, "G0Out1"}, "no session"},
      {"a events", wire::AskLinks{session}, "no session"},
      {"a control", wire::AskLinks{session + 1}, "no session"},
      {"a control", wire::Consumed{session, 1}, "no session"},
      {"a control", wire::GraphSeen{session, 1}, "no session"},
      {"stranger", wire::OpenEvents{session + 1}, "no session"},
      // A channel opens once.
      {"stranger", wire::OpenEvents{session}, "bad request"},
      {"stranger", wire::OpenGraph{session}, "bad request"},
      {"b graph", wire::OpenEvents{session}, "bad request"},
      // What only the service says.
      {"a control", wire::Welcome{session, 1}, "bad request"},
      {"a control", wire::Result{}, "bad request"},
      {"a control", wire::Topology{}, "bad request"},
      {"a control", wire::Links{}, "bad request"},
      {"a control", wire::Taken{}, "bad request"},
      {"a events", wire::Events{}, "bad request"},
      {"a graph", wire::GraphChanged{}, "bad request"},
      {"a graph", wire::GraphStale{}, "bad request"},
  };
  for (const Row& row : table) {
    say(row.peer, 9, row.body);
    EXPECT_EQ(peers_.texts(row.peer), Texts{"9: " + row.answer + " at 0"});
    say(row.peer, 0, row.body);
    EXPECT_EQ(peers_.texts(row.peer), Texts{}) << "without a tag there is no answer";
  }
  say("b control", 0, note(other, 1));
  EXPECT_EQ(peers_.texts("b events"), Texts{"events [1 G0Out1: 90 01 40]"});
}

TEST_F(DispatcherTest, MalformedMessagesAreRefusedWhenTheyHaveTag) {
  const std::uint64_t session = attach("a");
  const Bytes whole = wire::encode(7, wire::Tap{session, EventPort, HolderBytes, "G0Out1"});
  for (std::size_t size = 0; size < whole.size(); ++size) {
    say("a control", Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
    EXPECT_EQ(peers_.texts("a control"), size < 8 ? Texts{} : Texts{"7: bad request at 0"}) << size;
  }
  Bytes otherVersion = whole;
  ++otherVersion[1];
  say("a control", otherVersion);
  EXPECT_EQ(peers_.texts("a control"), Texts{"7: bad request at 0"});
  say("a control", Bytes{'G', 'E', 'T', ' ', '/', ' ', 'H', 'T', 'T', 'P'});
  EXPECT_EQ(peers_.texts("a control"), Texts{});
  EXPECT_EQ(told_, service::Told{"start"}) << "nothing was tapped";
}

TEST_F(DispatcherTest, EventsGoOutAtOnce) {
  const std::uint64_t session = attach("a");
  tap("a", session, "G0Out1");
  say("a control", 0, note(session, 1));
  EXPECT_EQ(peers_.texts("a events"), Texts{"events [1 G0Out1: 90 01 40]"});
  say("a control", 0, note(session, 2));
  EXPECT_EQ(peers_.texts("a events"), Texts{"events [1 G0Out1: 90 02 40]"});
}

TEST_F(DispatcherTest, EventsOfTheDeviceGoOutAtOnce) {
  tap("a", attach("a"), "G0Out1");
  device_->onAdvance = [](service::DriverEvents& events, Time now) {
    events.emitted(service::out(0, 0), {0, Bytes{0xF8}}, now);
    return std::optional(now + Time(5));
  };
  EXPECT_EQ(dispatcher_->advance(Time(10)), Time(15));
  EXPECT_EQ(peers_.texts("a events"), Texts{"events [1 G0Out1: F8]"});
}

TEST_F(DispatcherTest, EventsWaitForTheChannel) {
  const std::uint64_t session = hello("a control");
  tap("a", session, "G0Out1");
  say("a control", 0, note(session, 1));
  say("a events", 3, wire::OpenEvents{session});
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

TEST_F(DispatcherTest, EventsStopAtTheWindowAndGoOnWithWhatIsConsumed) {
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

TEST_F(DispatcherTest, ConsumedThatCannotBeTrueIsIgnored) {
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

TEST_F(DispatcherTest, TakenIsToldEveryQuarterOfTheWindow) {
  const std::uint64_t session = attach("a");
  Texts told;
  for (std::uint8_t i = 0; i < 8; ++i) {
    say("a control", 0, note(session, i));
    for (const std::string& text : peers_.texts("a control")) told.push_back(std::to_string(i + 1) + ": " + text);
  }
  EXPECT_EQ(told, (Texts{"2: taken 2", "4: taken 4", "6: taken 6", "8: taken 8"}));
}

TEST_F(DispatcherTest, TakenIsToldWhenNothingStandsReady) {
  const std::uint64_t one = attach("a");
  attach("b");
  say("a control", 0, note(one, 1));
  EXPECT_EQ(peers_.texts("a control"), Texts{});
  dispatcher_->idle(Time(2));
  EXPECT_EQ(peers_.texts("a control"), Texts{"taken 1"});
  EXPECT_EQ(peers_.texts("b control"), Texts{});
  dispatcher_->idle(Time(3));
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

TEST_F(DispatcherTest, SendThatTheServiceRefusesIsTakenToo) {
  const std::uint64_t session = attach("a");
  say("a control", 0, wire::Send{session, EventPort, 0, {}});
  dispatcher_->idle(Time(2));
  EXPECT_EQ(peers_.texts("a control"), Texts{"taken 1"});
}

TEST_F(DispatcherTest, ChangesOfTheGraphGoToEverybodyBeforeTheAnswer) {
  const std::uint64_t one = attach("a");
  attach("b");
  hello("without graph");
  peers_.order.clear();
  say("a control", 5, wire::Patch{one, true, 0, 0, 1, 1});
  EXPECT_EQ(peers_.order.size(), 3U);
  EXPECT_EQ(peers_.order.back(), "a control");
  say("a control", 6, wire::Patch{one, false, 0, 0, 1, 1});
  const Texts changes{"made 0.0>1.1 at 1", "gone 0.0>1.1 at 2"};
  EXPECT_EQ(peers_.texts("a graph"), changes);
  EXPECT_EQ(peers_.texts("b graph"), changes);
  EXPECT_EQ(peers_.texts("without graph"), Texts{});
}

TEST_F(DispatcherTest, ClientThatDoesNotReadGraphChangesIsToldOnceThatTheyAreTooMany) {
  const std::uint64_t one = attach("a");
  const std::uint64_t two = attach("b");
  const auto change = [&](std::uint64_t times) {
    for (std::uint64_t i = 0; i < times; ++i) say("a control", 0, wire::Patch{one, i % 2 == 0, 0, 0, 1, 1});
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

TEST_F(DispatcherTest, GraphChangesGoOnWhenTheyAreSeen) {
  const std::uint64_t session = attach("a");
  for (std::uint64_t version = 1; version <= 3 * wire::MinGraphWindow; ++version) {
    say("a control", 0, wire::Patch{session, version % 2 == 1, 0, 0, 1, 1});
    const Texts texts = peers_.texts("a graph");
    ASSERT_EQ(texts.size(), 1U);
    ASSERT_NE(texts[0], "stale");
    if (version % 64 == 0) say("a graph", 0, wire::GraphSeen{session, version});
  }
}

TEST_F(DispatcherTest, InjectedMessagesPassThePortInOrder) {
  const std::uint64_t watcher = attach("a");
  const std::uint64_t injector = attach("b");
  tap("a", watcher, "G0In1");
  say("b control", 0, wire::Inject{injector, "G0In1", {{0, {0x90, 1, 1}}, {0, {0x01}}}});
  EXPECT_EQ(peers_.texts("a events"), Texts{"events [1 G0In1: 90 01 01] [1 G0In1: 01]"});
  EXPECT_EQ(peers_.texts("b control"), Texts{}) << "not answered";
  dispatcher_->idle(Time(1));
  EXPECT_EQ(peers_.texts("b control"), Texts{"taken 1"}) << "a frame, however many messages it carries";
}

TEST_F(DispatcherTest, InjectThatFailsIsAnsweredEvenWithoutATag) {
  const std::uint64_t session = attach("a");
  say("a control", 0, wire::Inject{session, "G9Out1", {{0, {0xF8}}}});
  say("a control", 0, wire::Inject{session, "G0Out1", {{0, {}}}});
  EXPECT_EQ(peers_.texts("a control"), (Texts{"not found at 0", "taken 2", "bad request at 0"}));
  say("a control", 0, wire::Inject{session + 1, "G0Out1", {{0, {0xF8}}}});
  say("b", 7, wire::Inject{session, "G0Out1", {{0, {0xF8}}}});
  EXPECT_EQ(peers_.texts("a control"), Texts{"no session at 0"});
  EXPECT_EQ(peers_.texts("b"), Texts{"7: no session at 0"}) << "nobody speaks for another";
  EXPECT_EQ(service_->counts().in, 0U);
}

TEST_F(DispatcherTest, StatisticsNameClientsInTheOrderOfTheirComing) {
  const std::uint64_t first = attach("a");
  say("b", 1, wire::Hello{"other", 6});
  tap("a", first, "G0Out1");
  say("a control", 0, note(first, 1));
  peers_.take("a control");
  say("a control", 4, wire::AskStats{first});
  const auto answers = peers_.take("a control");
  ASSERT_EQ(answers.size(), 1U);
  const auto envelope = wire::decode(answers[0]);
  ASSERT_TRUE(envelope);
  const auto& stats = std::get<wire::Stats>(envelope->body);
  EXPECT_EQ(stats.in, 1U);
  EXPECT_EQ(stats.out, 1U);
  EXPECT_EQ(stats.lost, 0U);
  EXPECT_EQ(stats.queueLimit, service::Limits{}.queueBytes);
  ASSERT_EQ(stats.clients.size(), 2U);
  EXPECT_EQ(stats.clients[0].program, "test");
  EXPECT_EQ(stats.clients[0].process, 5U);
  EXPECT_EQ(stats.clients[0].taps, 1U);
  EXPECT_EQ(stats.clients[0].in, 1U);
  EXPECT_EQ(stats.clients[0].out, 1U);
  EXPECT_EQ(stats.clients[1].program, "other");
  EXPECT_EQ(stats.clients[1].taps, 0U);
}

TEST_F(DispatcherTest, StatisticsAreForClientsOnly) {
  say("nobody", 4, wire::AskStats{1});
  EXPECT_EQ(peers_.texts("nobody"), Texts{"4: no session at 0"});
}

}  // namespace
}  // namespace host
