// What a session tells of by itself, of services that are late.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <variant>

#include "platform/client/session.h"
#include "platform/system/program_line.h"
#include "tests/platform/client/fixture.h"
#include "tests/platform/client/played_service.h"
#include "tests/support/scratch_folder.h"

namespace client {
namespace {

using Clock = std::chrono::steady_clock;
using Session = EvtSrv::EventPortManager::Session;

wire::Topology twoGroups() {
  return {{{1, "A", device::SideOfGroup{1, "", {"a"}}, std::nullopt},
           {2, "B", std::nullopt, device::SideOfGroup{2, "", {"b", "c"}}}}};
}

TEST(SessionNews, ServiceIsAskedForAddedPortsOnceASecond) {
  std::atomic<int> asked{0};
  PlayedService service([&](PlayedService& self, std::uint32_t tag, const wire::Body& body) {
    self.answerGreeting(tag, body);
    if (!std::holds_alternative<wire::AskTopology>(body)) return;
    ++asked;
    self.reply(tag, twoGroups());
    // Ports only go, so there is never a line.
    self.toEventChannel(wire::TopologyChanged{});
  });
  const auto opened = Session::open(service.connector(), "test");
  const auto* session = std::get_if<std::shared_ptr<Session>>(&opened);
  ASSERT_NE(session, nullptr);
  (*session)->list(twoGroups());
  const auto start = Clock::now();
  // Makes the service tell that something has changed.
  ASSERT_TRUE((*session)->device());
  const testsupport::Deadline given(std::chrono::milliseconds(2500));
  while (!given.passed()) (*session)->receiveEvent(10);
  const auto looks = asked - 1;
  EXPECT_GE(looks, 1);
  EXPECT_LE(looks, 1 + (Clock::now() - start) / std::chrono::seconds(1));
}

TEST(SessionNews, ServiceThatSaysNothingIsNotAskedForAddedPorts) {
  std::atomic<int> asked{0};
  PlayedService service([&](PlayedService& self, std::uint32_t tag, const wire::Body& body) {
    self.answerGreeting(tag, body);
    if (std::holds_alternative<wire::AskTopology>(body)) ++asked;
  });
  const auto opened = Session::open(service.connector(), "test");
  const auto* session = std::get_if<std::shared_ptr<Session>>(&opened);
  ASSERT_NE(session, nullptr);
  (*session)->list(twoGroups());
  const testsupport::Deadline given(std::chrono::milliseconds(600));
  while (!given.passed()) (*session)->receiveEvent(10);
  EXPECT_EQ(asked, 0);
}

TEST(SessionNews, ReceiveDoesNotWaitForARequestOfAnotherThread) {
  std::atomic<bool> patching{false};
  std::atomic<bool> received{false};
  PlayedService service([&](PlayedService& self, std::uint32_t tag, const wire::Body& body) {
    self.answerGreeting(tag, body);
    if (std::holds_alternative<wire::AskLinks>(body)) self.reply(tag, wire::Links{});
    if (!std::holds_alternative<wire::Patch>(body)) return;
    self.toEventChannel(wire::TopologyChanged{});
    patching = true;
    const testsupport::Deadline deadline(Patience);
    while (!received && !deadline.passed()) std::this_thread::yield();
    self.reply(tag, wire::Result{});
  });
  const auto opened = Session::open(service.connector(), "test");
  const auto* session = std::get_if<std::shared_ptr<Session>>(&opened);
  ASSERT_NE(session, nullptr);
  std::optional<device::Status> status;
  std::thread patcher([&] { status = (*session)->patch(true, {0, 0, 1, 1}, (*session)->number()); });
  const testsupport::Deadline deadline(Patience);
  while (!patching && !deadline.passed()) std::this_thread::yield();
  // Until it is time to look for what has come.
  const testsupport::Deadline given(std::chrono::milliseconds(400));
  while (!given.passed()) (*session)->receiveEvent(10);
  received = true;
  patcher.join();
  EXPECT_EQ(status, device::Status::Ok) << "the request has waited for receiving, which has waited for the request";
}

TEST(SessionNews, LostConnectionsAreReportedOnceALateServiceAnswers) {
  const testsupport::ScratchFolder folder;
  const std::string path = folder.path() / "service";
  std::atomic<bool> late{false};
  std::atomic<int> asked{0};
  const auto answerWith = [&](const wire::Links& links) {
    return [&, links](PlayedService& self, std::uint32_t tag, const wire::Body& body) {
      self.answerGreeting(tag, body);
      if (std::holds_alternative<wire::AskTopology>(body)) ++asked;
      if (std::holds_alternative<wire::AskTopology>(body) && !late) self.reply(tag, twoGroups());
      if (std::holds_alternative<wire::AskLinks>(body)) self.reply(tag, links);
    };
  };
  auto service = std::make_unique<PlayedService>(path, answerWith({3, {{{1, 0, 2, 0}, true}, {{1, 0, 2, 1}, true}}}));
  const auto opened = Session::open(channel::Connector::toLocalSocket(path), "test");
  const auto* session = std::get_if<std::shared_ptr<Session>>(&opened);
  ASSERT_NE(session, nullptr);
  ASSERT_TRUE((*session)->device());
  ASSERT_TRUE((*session)->graphVersion((*session)->number()));
  testing::internal::CaptureStderr();
  service.reset();
  const testsupport::Deadline deadline(Patience);
  while ((*session)->number() != 0 && !deadline.passed()) (*session)->receiveEvent(10);
  late = true;
  asked = 0;
  service = std::make_unique<PlayedService>(path, answerWith({1, {{{1, 0, 2, 1}, true}}}));
  while (asked < 2 && !deadline.passed()) (*session)->receiveEvent(10);
  EXPECT_NE((*session)->number(), 0U) << "a service that is late is not lost";
  late = false;
  const std::string front = sys::programLine("test: ");
  const std::string expected = front + "connection to the service lost\n" + front + "connected to the service again\n" +
                               front + "lost when the service restarted: the connection of \"a\" to \"b\"\n";
  std::string said;
  while (said.size() < expected.size() && !deadline.passed()) {
    (*session)->receiveEvent(10);
    said += testing::internal::GetCapturedStderr();
    testing::internal::CaptureStderr();
  }
  const testsupport::Deadline quiet(std::chrono::milliseconds(1500));
  while (!quiet.passed()) (*session)->receiveEvent(10);
  EXPECT_EQ(said + testing::internal::GetCapturedStderr(), expected) << "once";
}

// News that are too many for the client's window, as others make them, leave it with what it knew.
TEST(SessionNews, LostConnectionsAreReportedAfterMissedGraphChanges) {
  const testsupport::ScratchFolder folder;
  const std::string path = folder.path() / "service";
  const auto answerWith = [](const wire::Links& links) {
    return [links](PlayedService& self, std::uint32_t tag, const wire::Body& body) {
      self.answerGreeting(tag, body);
      if (std::holds_alternative<wire::AskLinks>(body)) self.reply(tag, links);
      if (!std::holds_alternative<wire::AskTopology>(body)) return;
      self.toGraphChannel(wire::GraphStale{});
      self.reply(tag, twoGroups());
    };
  };
  auto service = std::make_unique<PlayedService>(path, answerWith({3, {{{1, 0, 2, 0}, true}}}));
  const auto opened = Session::open(channel::Connector::toLocalSocket(path), "test");
  const auto* session = std::get_if<std::shared_ptr<Session>>(&opened);
  ASSERT_NE(session, nullptr);
  ASSERT_TRUE((*session)->graphVersion((*session)->number()));
  ASSERT_TRUE((*session)->device());
  // Until news of the graph have been taken in.
  const testsupport::Deadline given(std::chrono::milliseconds(600));
  while (!given.passed()) (*session)->receiveEvent(10);
  testing::internal::CaptureStderr();
  service.reset();
  const testsupport::Deadline deadline(Patience);
  while ((*session)->number() != 0 && !deadline.passed()) (*session)->receiveEvent(10);
  service = std::make_unique<PlayedService>(path, answerWith({1, {}}));
  while ((*session)->number() == 0 && !deadline.passed()) (*session)->receiveEvent(10);
  const testsupport::Deadline told(std::chrono::milliseconds(1500));
  while (!told.passed()) (*session)->receiveEvent(10);
  const std::string front = sys::programLine("test: ");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            front + "connection to the service lost\n" + front + "connected to the service again\n" + front +
                "lost when the service restarted: the connection of \"a\" to \"b\"\n");
}

TEST(SessionNews, RetriedTapDoesNotShortenTheTimeoutOfARequest) {
  const testsupport::ScratchFolder folder;
  const std::string path = folder.path() / "service";
  std::atomic<int> taps{0};
  const auto answer = [&](PlayedService& self, std::uint32_t tag, const wire::Body& body) {
    self.answerGreeting(tag, body);
    if (std::holds_alternative<wire::AskLinks>(body)) self.reply(tag, wire::Links{});
    if (std::holds_alternative<wire::Patch>(body)) self.reply(tag, wire::Result{});
    if (!std::holds_alternative<wire::Tap>(body)) return;
    // The port is not there when the service is back, and later the service takes longer than trying again
    // waits.
    const int number = ++taps;
    if (number > 2) std::this_thread::sleep_for(std::chrono::milliseconds(700));
    self.reply(tag, wire::Result{number == 2 ? device::Status::NotFound : device::Status::Ok, 0});
  };
  auto service = std::make_unique<PlayedService>(path, answer);
  const auto opened = Session::open(channel::Connector::toLocalSocket(path), "test");
  const auto* session = std::get_if<std::shared_ptr<Session>>(&opened);
  ASSERT_NE(session, nullptr);
  ASSERT_EQ((*session)->tap(1, "a", 100), device::Status::Ok);
  testing::internal::CaptureStderr();
  service.reset();
  const testsupport::Deadline deadline(Patience);
  while ((*session)->number() != 0 && !deadline.passed()) (*session)->receiveEvent(10);
  service = std::make_unique<PlayedService>(path, answer);
  while ((*session)->number() == 0 && !deadline.passed()) (*session)->receiveEvent(10);
  std::optional<device::Status> status;
  std::atomic<bool> patched{false};
  std::thread patcher([&] {
    while (taps < 3 && !deadline.passed()) std::this_thread::yield();
    status = (*session)->patch(true, {0, 0, 1, 1}, (*session)->number());
    patched = true;
  });
  while (!patched && !deadline.passed()) (*session)->receiveEvent(10);
  patcher.join();
  EXPECT_EQ(status, device::Status::Ok);
  EXPECT_GE(taps, 3);
  testing::internal::GetCapturedStderr();
}

}  // namespace
}  // namespace client
