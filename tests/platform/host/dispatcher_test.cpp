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
  EXPECT_EQ(log_, (Texts{"test (process 5) connected", "test (process 5) connected"}));
}

TEST_F(DispatcherTest, WelcomeNamesTheSendWindow) {
  say("a", 3, wire::Hello{});
  EXPECT_EQ(peers_.texts("a"), Texts{"3: welcome, window 8"});
}

TEST_F(DispatcherTest, SecondHelloOfOnePeerIsOutOfPlace) {
  hello("a");
  say("a", 2, wire::Hello{});
  EXPECT_EQ(peers_.texts("a"), Texts{"2: bad request at 0"});
}

TEST_F(DispatcherTest, NameOfProgramIsPrintableInTheLog) {
  peers_.identities["a"] = {1000, 5, "\x1b[2J\n"};
  say("a", 1, wire::Hello{});
  EXPECT_EQ(log_, Texts{"\\x1B[2J\\x0A (process 5) connected"});
}

TEST_F(DispatcherTest, GoodbyeIsAnsweredAndEndsTheClient) {
  const std::uint64_t session = attach("a");
  tap("a", session, "G0Out1");
  say("a control", 3, wire::Goodbye{session});
  EXPECT_EQ(peers_.texts("a control"), Texts{"3: ok at 0"});
  EXPECT_EQ(told_, (service::Told{"start", "use G0Out1", "unuse G0Out1"}));
  say("a control", 4, wire::Tap{session, EventPort, HolderBytes, "G0Out1"});
  EXPECT_EQ(peers_.texts("a control"), Texts{"4: no session at 0"});
  EXPECT_EQ(log_.back(), "test (process 5) disconnected");
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
      {wire::Patch{session, true, {0, 0, 1, 1}}, "ok at 1"},
      {wire::Patch{session, true, {0, 0, 1, 1}}, "ok at 1"},
      {wire::AskLinks{session}, "links at 1 0.0>1.1"},
      {wire::Patch{session, true, {0, 0, 1, 2}}, "not found at 1"},
      {wire::Patch{session, false, {0, 0, 1, 1}}, "ok at 2"},
      {wire::Patch{session, false, {0, 0, 1, 1}}, "not found at 2"},
  };
  std::uint32_t tag = 10;
  for (const auto& [request, answer] : table) {
    say("a control", ++tag, request);
    EXPECT_EQ(peers_.texts("a control"), Texts{std::to_string(tag) + ": " + answer});
  }
}

TEST_F(DispatcherTest, PatchIsRefusedOnceItsClientHasGivenUp) {
  const std::uint64_t session = attach("a");
  const auto patch = [&](bool made, std::uint64_t until, device::Time now) {
    dispatcher_->receive(peers_.of("a control"), wire::encode(9, wire::Patch{session, made, {0, 0, 1, 1}, until}), now);
    return peers_.texts("a control");
  };
  using std::chrono::nanoseconds;
  EXPECT_EQ(patch(true, 100, nanoseconds(100)), Texts{"9: refused at 0"});
  EXPECT_EQ(patch(true, 100, nanoseconds(99)), Texts{"9: ok at 1"});
  EXPECT_EQ(patch(false, 100, nanoseconds(5'000'000'000)), Texts{"9: refused at 1"});
  EXPECT_EQ(patch(false, 0, nanoseconds(5'000'000'000)), Texts{"9: ok at 2"}) << "nobody gives up";
}

TEST_F(DispatcherTest, MessagesOutOfPlaceAreAnsweredAndHarmNobody) {
  const std::uint64_t session = attach("a");
  const std::uint64_t other = attach("b");
  tap("b", other, "G0Out1");
  const wire::Token token = tokens_.at(session);
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
      {"stranger", wire::OpenEvents{session + 1, token}, "no session"},
      {"stranger", wire::OpenEvents{session, {}}, "no session"},
      {"stranger", wire::OpenEvents{session, {token.high, token.low + 1}}, "no session"},
      {"stranger", wire::OpenGraph{session, {token.high + 1, token.low}}, "no session"},
      // A channel opens once.
      {"stranger", wire::OpenEvents{session, token}, "bad request"},
      {"stranger", wire::OpenGraph{session, token}, "bad request"},
      {"b graph", wire::OpenEvents{session, token}, "bad request"},
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

TEST_F(DispatcherTest, ChannelsOpenForTheUserOfTheSessionOnly) {
  const auto [session, window, token] = welcome("a control");
  peers_.identities["thief"] = {1001, 6, "thief"};
  say("thief", 1, wire::OpenEvents{session, token});
  say("thief", 2, wire::OpenGraph{session, token});
  EXPECT_EQ(peers_.texts("thief"), (Texts{"1: no session at 0", "2: no session at 0"}));
  say("a events", 1, wire::OpenEvents{session, token});
  EXPECT_EQ(peers_.texts("a events"), Texts{"1: ok at 0"});
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

TEST_F(DispatcherTest, InjectedMessagesPassThePortInOrder) {
  const std::uint64_t watcher = attach("a");
  const std::uint64_t injector = attach("b");
  tap("a", watcher, "G0In1");
  say("b control", 0, wire::Inject{injector, "G0In1", {{0, {0x90, 1, 1}}, {0, {0x01}}}});
  EXPECT_EQ(peers_.texts("a events"), Texts{"events [1 G0In1: 90 01 01] [1 G0In1: 01]"});
  EXPECT_EQ(peers_.texts("b control"), Texts{}) << "not answered";
  dispatcher_->tellTaken();
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

TEST_F(DispatcherTest, StatisticsListClientsInTheOrderOfConnecting) {
  const std::uint64_t first = attach("a");
  peers_.identities["b"] = {1001, 6, "other"};
  say("b", 1, wire::Hello{});
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
  EXPECT_EQ(stats.queueLimit, service::QueueLimits{}.queueBytes);
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
