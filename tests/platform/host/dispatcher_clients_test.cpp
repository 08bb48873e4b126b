// How a dispatcher deals with clients that die, and with those that lose messages.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "tests/platform/host/dispatcher_fixture.h"

namespace host {
namespace {

TEST_F(DispatcherTest, ClientEndsWithItsControlChannel) {
  const std::uint64_t gone = attach("a");
  const std::uint64_t here = attach("b");
  tap("a", gone, "G0Out1");
  tap("b", here, "G0Out1");
  hangUp("a control");
  EXPECT_EQ(log_.back(), "test (process 5) lost its connection");
  say("b control", 0, note(here, 1));
  EXPECT_EQ(peers_.texts("b events"), Texts{"events [1 G0Out1: 90 01 40]"});
  EXPECT_EQ(peers_.texts("a events"), Texts{});
  say("b control", 9, wire::UntapAll{here, EventPort});
  EXPECT_EQ(told_.back(), "unuse G0Out1") << "no tap of the client that has gone is left";
}

// So messages that a client sent before it died are not lost, whichever of its connections is seen to close first.
TEST_F(DispatcherTest, ControlChannelOfAClientThatDiesIsReadToItsEnd) {
  const std::uint64_t session = attach("a");
  tap("a", session, "G0Out1");
  hangUp("a events");
  hangUp("a graph");
  EXPECT_EQ(peers_.ended, (Texts{"a control", "a control"}));
  EXPECT_EQ(dispatcher_->advance(Time(std::chrono::seconds(9))), std::nullopt);
  EXPECT_EQ(peers_.disconnected, Texts{});
  say("a control", 0, note(session, 1));
  EXPECT_EQ(service_->counts().in, 1U);
  log_.clear();
  hangUp("a control");
  EXPECT_EQ(log_, Texts{"test (process 5) lost its connection"});
}

TEST_F(DispatcherTest, ConnectionWithoutASessionClosesUnnoticed) {
  say("stranger", 3, wire::AskLinks{1});
  log_.clear();
  hangUp("stranger");
  hangUp("unheard");
  const std::uint64_t session = attach("a");
  say("a control", 9, wire::Goodbye{session});
  log_.clear();
  for (const char* peer : {"a control", "a events", "a graph"}) hangUp(peer);
  EXPECT_EQ(log_, Texts{});
  EXPECT_EQ(peers_.ended, Texts{});
}

TEST_F(DispatcherTest, ConnectionThatOpensNoChannelIsClosedAfterTwoSeconds) {
  const Time begin = std::chrono::hours(1);
  for (const char* peer : {"a control", "a events", "a graph", "silent"}) {
    dispatcher_->connectionOpened(peers_.of(peer), begin);
  }
  const std::uint64_t session = attach("a");
  say("silent", 3, wire::AskLinks{session});
  EXPECT_EQ(dispatcher_->advance(begin), begin + std::chrono::seconds(2));
  dispatcher_->advance(begin + std::chrono::seconds(2) - Time(1));
  EXPECT_EQ(peers_.disconnected, Texts{});
  EXPECT_EQ(dispatcher_->advance(begin + std::chrono::seconds(2)), std::nullopt);
  EXPECT_EQ(peers_.disconnected, Texts{"silent"});
}

TEST_F(DispatcherTest, ConnectionsOfAClientThatLeftAreClosedAfterTwoSeconds) {
  const std::uint64_t session = attach("a");
  say("a control", 3, wire::Goodbye{session});
  dispatcher_->advance(Time(std::chrono::seconds(3)));
  EXPECT_EQ(peers_.disconnected, (Texts{"a control", "a events", "a graph"}));
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

}  // namespace
}  // namespace host
