// Changes of connections whose answer comes too late.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include "platform/channel/deadline.h"
#include "platform/client/session.h"
#include "tests/platform/client/fixture.h"
#include "tests/platform/client/played_service.h"

namespace client {
namespace {

using device::Link;
using device::Status;
using Session = EvtSrv::EventPortManager::Session;
using namespace std::chrono_literals;

constexpr Link One{1, 0, 2, 0};

// A service with the connections that a test gives. It keeps the answers to Patch requests with a time limit, and
// answers them later.
class LateAnswers : public testing::Test {
 protected:
  struct Seen {
    std::uint32_t tag = 0;
    wire::Patch patch;
  };

  std::shared_ptr<Session> open() {
    const auto opened = Session::open(service_->connector(), "test");
    const auto* session = std::get_if<std::shared_ptr<Session>>(&opened);
    return session == nullptr ? nullptr : *session;
  }

  // A service with these connections at the version 4.
  void serve(std::vector<wire::LinkRecord> links) {
    service_ = std::make_unique<PlayedService>(
        [this, links = std::move(links)](PlayedService& self, std::uint32_t tag, const wire::Body& body) {
          self.answerGreeting(tag, body);
          if (std::holds_alternative<wire::AskLinks>(body)) self.reply(tag, wire::Links{4, links});
          const auto* patch = std::get_if<wire::Patch>(&body);
          if (patch != nullptr) {
            const std::lock_guard guard(mutex_);
            seen_.push_back({tag, *patch});
          }
          // Any message lets the test speak on the service's thread.
          const std::lock_guard guard(mutex_);
          if (patch != nullptr && answersAtOnce_) self.reply(tag, wire::Result{Status::Ok, 4});
          if (std::holds_alternative<wire::Untap>(body)) answerLate(self);
          if (std::holds_alternative<wire::Untap>(body)) self.reply(tag, wire::Result{Status::Nothing, 4});
        });
  }

  // The late answer, and the change that it reports. With mutex_ locked.
  void answerLate(PlayedService& service) {
    if (seen_.empty()) return;
    const wire::Patch& patch = seen_.front().patch;
    if (changes_) service.toGraphChannel(wire::GraphChanged{5, patch.made, {patch.link}});
    if (changedBack_) service.toGraphChannel(wire::GraphChanged{6, !patch.made, {patch.link}});
    service.reply(seen_.front().tag, wire::Result{status_, changes_ ? 5U : 4U});
  }

  // Waits until the service has this many requests.
  bool hasSeen(Session& session, std::size_t count) {
    const testsupport::Deadline deadline(Patience);
    for (;;) {
      session.receiveEvent(10);
      const std::lock_guard guard(mutex_);
      if (seen_.size() >= count) return true;
      if (deadline.passed()) return false;
    }
  }

  // Receives long enough for the session to take something back, and returns how many requests were made.
  std::size_t seenAfterAWhile(Session& session) {
    const testsupport::Deadline given(700ms);
    while (!given.passed()) session.receiveEvent(10);
    const std::lock_guard guard(mutex_);
    return seen_.size();
  }

  Seen seen(std::size_t at) {
    const std::lock_guard guard(mutex_);
    return seen_.at(at);
  }

  // A request that gets no answer in time.
  void timeOut(Session& session, bool made) {
    EXPECT_FALSE(session.patch(made, One, session.number()));
    // The service is not asked for a second.
    const testsupport::Deadline silence(1100ms);
    while (!silence.passed()) session.receiveEvent(10);
  }

  std::mutex mutex_;
  std::vector<Seen> seen_;
  Status status_ = Status::Ok;
  bool changes_ = true;
  bool changedBack_ = false;
  bool answersAtOnce_ = false;
  std::unique_ptr<PlayedService> service_;
};

TEST_F(LateAnswers, RequestSaysWhenTheClientGivesUp) {
  serve({});
  const auto session = open();
  ASSERT_TRUE(session);
  const auto before = channel::clockNow();
  timeOut(*session, true);
  const auto until = std::chrono::nanoseconds(seen(0).patch.until);
  EXPECT_GE(until, before + channel::AnswerTime);
  EXPECT_LE(until, channel::clockNow() - 1s);
}

TEST_F(LateAnswers, ConnectionMadeIsRemovedAgain) {
  serve({});
  const auto session = open();
  ASSERT_TRUE(session);
  timeOut(*session, true);
  session->untap(1, "x");
  ASSERT_TRUE(hasSeen(*session, 2));
  EXPECT_EQ(seen(1).tag, 0U);
  EXPECT_EQ(seen(1).patch.link, One);
  EXPECT_FALSE(seen(1).patch.made);
  EXPECT_EQ(seen(1).patch.until, 0U) << "this is to happen whenever";
  EXPECT_EQ(seenAfterAWhile(*session), 2U) << "once";
}

TEST_F(LateAnswers, ConnectionRemovedIsMadeAgain) {
  serve({{One}});
  const auto session = open();
  ASSERT_TRUE(session);
  timeOut(*session, false);
  session->untap(1, "x");
  ASSERT_TRUE(hasSeen(*session, 2));
  EXPECT_EQ(seen(1).patch.link, One);
  EXPECT_TRUE(seen(1).patch.made);
}

TEST_F(LateAnswers, WhatWasSoAlreadyStays) {
  serve({{One}});
  changes_ = false;
  const auto session = open();
  ASSERT_TRUE(session);
  timeOut(*session, true);
  session->untap(1, "x");
  EXPECT_EQ(seenAfterAWhile(*session), 1U);
}

TEST_F(LateAnswers, WhatWasRefusedStays) {
  serve({});
  changes_ = false;
  status_ = Status::Refused;
  const auto session = open();
  ASSERT_TRUE(session);
  timeOut(*session, true);
  session->untap(1, "x");
  EXPECT_EQ(seenAfterAWhile(*session), 1U);
}

TEST_F(LateAnswers, WhatSomebodyElseHasChangedBackStays) {
  serve({});
  changedBack_ = true;
  const auto session = open();
  ASSERT_TRUE(session);
  timeOut(*session, true);
  session->untap(1, "x");
  EXPECT_EQ(seenAfterAWhile(*session), 1U);
}

TEST_F(LateAnswers, WhatIsAskedForAgainStays) {
  serve({});
  const auto session = open();
  ASSERT_TRUE(session);
  timeOut(*session, true);
  {
    const std::lock_guard guard(mutex_);
    answersAtOnce_ = true;
  }
  EXPECT_EQ(session->patch(true, One, session->number()), Status::Ok);
  session->untap(1, "x");
  EXPECT_EQ(seenAfterAWhile(*session), 2U) << "only the two requests";
}

TEST_F(LateAnswers, AreReadWhenTheSessionEnds) {
  serve({});
  const auto session = open();
  ASSERT_TRUE(session);
  timeOut(*session, true);
  session->untap(1, "x");
  session->close();
  const testsupport::Deadline deadline(Patience);
  for (;;) {
    {
      const std::lock_guard guard(mutex_);
      if (seen_.size() == 2 || deadline.passed()) break;
    }
    std::this_thread::sleep_for(5ms);
  }
  EXPECT_FALSE(seen(1).patch.made);
}

}  // namespace
}  // namespace client
