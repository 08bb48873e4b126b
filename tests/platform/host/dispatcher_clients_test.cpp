// How a dispatcher deals with clients that die, and with those that lose messages.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "tests/platform/host/dispatcher_fixture.h"

namespace host {
namespace {

class ClosedConnection : public DispatcherTest {
 protected:
  void SetUp() override {
    peers_.current = 11;
    gone_ = attach("a");
    peers_.current = 12;
    here_ = attach("b");
  }

  std::uint64_t gone_ = 0;
  std::uint64_t here_ = 0;
};

TEST_F(ClosedConnection, ClientThatCannotBeReachedIsRemoved) {
  tap("a", gone_, "G0Out1");
  peers_.unreachable.insert("a control");
  dispatcher_->connectionClosed(11, Time(5));
  dispatcher_->advance(Time(5));
  EXPECT_EQ(log_.back(), "test (process 5) lost its connection");
  EXPECT_EQ(told_.back(), "unuse G0Out1");
  EXPECT_EQ(peers_.texts("b control"), Texts{}) << "who came by another connection is not asked";
}

TEST_F(ClosedConnection, ProbesUntilZeroMqHasForgottenThePeer) {
  dispatcher_->connectionClosed(11, Time(0));
  const auto next = dispatcher_->advance(Time(0));
  EXPECT_EQ(peers_.texts("a graph"), Texts{"probe"}) << "still known";
  ASSERT_EQ(next, Time(std::chrono::milliseconds(50)));
  EXPECT_EQ(dispatcher_->advance(Time(1)), next);
  EXPECT_EQ(peers_.texts("a graph"), Texts{}) << "not yet again";
  peers_.unreachable.insert("a events");
  dispatcher_->advance(*next);
  EXPECT_EQ(log_.back(), "test (process 5) lost its connection");
}

TEST_F(ClosedConnection, ReachableClientStaysAndIsProbedForASecond) {
  dispatcher_->connectionClosed(12, Time(0));
  std::optional<Time> next = Time(0);
  int probes = 0;
  while (next && probes < 100) {
    next = dispatcher_->advance(*next);
    probes += static_cast<int>(peers_.texts("b control").size());
  }
  EXPECT_FALSE(next) << "it ends";
  EXPECT_EQ(probes, 21) << "every 50 milliseconds for a second";
  say("b control", 3, wire::AskLinks{here_});
  EXPECT_EQ(peers_.texts("b control"), Texts{"3: links at 0"});
}

TEST_F(ClosedConnection, MayBeReportedBeforeTheFirstMessage) {
  dispatcher_->connectionClosed(13, Time(0));
  peers_.current = 13;
  hello("c control");
  peers_.unreachable.insert("c control");
  log_.clear();
  dispatcher_->advance(Time(1));
  EXPECT_EQ(log_, Texts{"test (process 5) lost its connection"});
}

TEST_F(ClosedConnection, IsForgottenAfterASecond) {
  dispatcher_->connectionClosed(13, Time(0) - std::chrono::seconds(2));
  peers_.current = 13;
  hello("c control");
  EXPECT_FALSE(dispatcher_->advance(Time(1)));
  EXPECT_EQ(peers_.texts("c control"), Texts{}) << "a new client, whose connection has an old number";
}

TEST_F(ClosedConnection, AnyOfTheThreeConnectionsRemovesTheClient) {
  peers_.current = 13;
  say("c control", 1, wire::Hello{"test", 5});
  const auto session = std::get<wire::Welcome>(wire::decode(peers_.take("c control").at(0))->body).session;
  peers_.current = 14;
  say("c events", 1, wire::OpenEvents{session});
  peers_.unreachable.insert("c events");
  log_.clear();
  dispatcher_->connectionClosed(14, Time(0));
  dispatcher_->advance(Time(0));
  EXPECT_EQ(log_, Texts{"test (process 5) lost its connection"});
}

class SmallQueue : public DispatcherTest {
 protected:
  SmallQueue() : DispatcherTest({.service = {.queueBytes = 60}, .eventWindow = 0, .sendWindow = 8, .graphWindow = 0}) {}
};

TEST_F(SmallQueue, LossIsLoggedAtOnceThenOnceASecond) {
  const std::uint64_t session = hello("a control");  // and its events wait, because it opens no channel for them
  tap("a", session, "G0Out1");
  const auto sendNotes = [&](int count) {
    for (int i = 0; i < count; ++i) say("a control", 0, note(session, 1));
  };
  sendNotes(6);
  log_.clear();
  dispatcher_->advance(Time(0));
  ASSERT_EQ(log_.size(), 1U);
  const std::uint64_t lost = service_->counts().lost;
  ASSERT_GT(lost, 1U);
  EXPECT_EQ(log_[0], "test (process 5) lost " + std::to_string(lost) + " messages: it reads too slowly");

  sendNotes(1);
  EXPECT_EQ(dispatcher_->advance(Time(10)), Time(std::chrono::seconds(1))) << "when the next line is due";
  EXPECT_EQ(log_.size(), 1U);
  dispatcher_->advance(Time(std::chrono::seconds(1)));
  ASSERT_EQ(log_.size(), 2U);
  EXPECT_EQ(log_[1], "test (process 5) lost 1 message: it reads too slowly");
}

TEST_F(SmallQueue, LossIsLoggedBeforeItsClientLeaves) {
  const std::uint64_t session = hello("a control");
  tap("a", session, "G0Out1");
  for (int i = 0; i < 6; ++i) say("a control", 0, note(session, 1));
  log_.clear();
  say("a control", 9, wire::Goodbye{session});
  ASSERT_EQ(log_.size(), 2U);
  EXPECT_THAT(log_[0], testing::HasSubstr(" lost "));
  EXPECT_EQ(log_[1], "test (process 5) disconnected");
}

TEST_F(DispatcherTest, UnreachableClientIsRemovedAndOtherClientsStay) {
  const std::uint64_t gone = attach("a");
  const std::uint64_t here = attach("b");
  tap("a", gone, "G0Out1");
  tap("b", here, "G0Out1");
  peers_.unreachable.insert("a events");
  say("b control", 0, note(here, 1));
  EXPECT_EQ(peers_.texts("b events"), Texts{"events [1 G0Out1: 90 01 40]"});
  EXPECT_EQ(log_.back(), "test (process 5) lost its connection");
  say("a control", 8, wire::AskLinks{gone});
  EXPECT_EQ(peers_.texts("a control"), Texts{"8: no session at 0"});
  say("b control", 9, wire::UntapAll{here, EventPort});
  EXPECT_EQ(told_.back(), "unuse G0Out1") << "no tap of the client that has gone is left";
}

}  // namespace
}  // namespace host
