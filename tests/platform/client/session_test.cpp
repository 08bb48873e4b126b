// A session with a service that a test plays, and with services at other addresses.

#include "platform/client/session.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include "tests/platform/client/fixture.h"
#include "tests/platform/client/played_service.h"
#include "tests/platform/host/running_host.h"
#include "tests/support/scratch_folder.h"

namespace client {
namespace {

using Session = EvtSrv::EventPortManager::Session;
using Ports = std::vector<device::PortId>;

class SessionTest : public testing::Test {
 protected:
  // The session with a service that answers like this, null when it gives none.
  std::shared_ptr<Session> openWith(PlayedService::Answer answer) {
    service_ = std::make_unique<PlayedService>(std::move(answer));
    auto opened = Session::open(service_->connector(), "test");
    if (auto* cause = std::get_if<std::string>(&opened)) {
      cause_ = *cause;
      return nullptr;
    }
    return std::get<std::shared_ptr<Session>>(opened);
  }

  std::unique_ptr<PlayedService> service_;
  std::string cause_;
};

TEST_F(SessionTest, SilentServiceIsNoService) {
  EXPECT_EQ(openWith([](PlayedService&, std::uint32_t, const wire::Body&) {}), nullptr);
  EXPECT_EQ(cause_, "the service does not answer");
}

TEST_F(SessionTest, ServiceThatTakesNoMoreClientsSaysSo) {
  EXPECT_EQ(openWith([](PlayedService& service, std::uint32_t tag, const wire::Body& body) {
              if (std::holds_alternative<wire::Hello>(body))
                service.reply(tag, wire::Result{device::Status::Refused, 0});
            }),
            nullptr);
  EXPECT_EQ(cause_, "the service accepts no more clients of this user");
}

TEST_F(SessionTest, ServiceThatRefusesEventsIsNoService) {
  EXPECT_EQ(openWith([](PlayedService& service, std::uint32_t tag, const wire::Body& body) {
              if (std::holds_alternative<wire::OpenEvents>(body)) {
                service.reply(tag, wire::Result{device::Status::NoSession, 0});
              } else {
                service.answerGreeting(tag, body);
              }
            }),
            nullptr);
  EXPECT_EQ(cause_, "cannot open the event connection to the service");
}

TEST_F(SessionTest, AddressWithoutServiceIsNoService) {
  const auto opened = Session::open(channel::Connector::toLocalSocket("/nonsense"), "test");
  EXPECT_TRUE(std::holds_alternative<std::string>(opened));
}

TEST_F(SessionTest, OwnChangeIsWaitedForWhenItIsReportedLate) {
  const auto session = openWith([](PlayedService& service, std::uint32_t tag, const wire::Body& body) {
    service.answerGreeting(tag, body);
    if (std::holds_alternative<wire::AskLinks>(body)) service.reply(tag, wire::Links{4, {}});
    if (std::holds_alternative<wire::Patch>(body)) {
      service.reply(tag, wire::Result{device::Status::Ok, 6});
      // Long after the answer has arrived.
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      service.toGraphChannel(wire::GraphChanged{5, true, {{8, 8, 9, 9}}});
      service.toGraphChannel(wire::GraphChanged{6, true, {{0, 0, 1, 1}}});
    }
  });
  ASSERT_NE(session, nullptr);
  EXPECT_EQ(session->patch(true, {0, 0, 1, 1}, session->number()), device::Status::Ok);
  Ports ports;
  EXPECT_TRUE(session->peersOf({0, 0, device::Side::Source}, session->number(), ports));
  EXPECT_EQ(ports, (Ports{{1, 1, device::Side::Sink}}));
}

TEST_F(SessionTest, MissingNewsMakeTheMirrorBeFetchedAnew) {
  std::atomic<int> asked{0};
  const auto session = openWith([&asked](PlayedService& service, std::uint32_t tag, const wire::Body& body) {
    service.answerGreeting(tag, body);
    if (std::holds_alternative<wire::AskLinks>(body)) {
      const std::uint64_t version = ++asked == 1 ? 1 : 9;
      service.reply(tag, wire::Links{version, {{{0, 0, static_cast<std::uint16_t>(version), 0}}}});
    }
    if (std::holds_alternative<wire::Patch>(body)) {
      service.toGraphChannel(wire::GraphChanged{8, true, {{5, 5, 5, 5}}});
      service.reply(tag, wire::Result{device::Status::Ok, 8});
    }
  });
  ASSERT_NE(session, nullptr);
  EXPECT_EQ(session->patch(true, {5, 5, 5, 5}, session->number()), device::Status::Ok);
  Ports ports;
  EXPECT_TRUE(session->peersOf({0, 0, device::Side::Source}, session->number(), ports));
  EXPECT_EQ(ports, (Ports{{9, 0, device::Side::Sink}}));
  EXPECT_EQ(asked, 2);
}

TEST_F(SessionTest, ReportsTheVersionOfTheMirror) {
  std::atomic<std::uint64_t> seen{0};
  std::atomic<std::uint64_t> version{0};
  const auto session = openWith([&](PlayedService& service, std::uint32_t tag, const wire::Body& body) {
    service.answerGreeting(tag, body);
    if (std::holds_alternative<wire::AskLinks>(body)) service.reply(tag, wire::Links{version, {}});
    if (std::holds_alternative<wire::Patch>(body)) {
      service.toGraphChannel(wire::GraphChanged{++version, version % 2 == 1, {{0, 0, 1, 1}}});
      service.reply(tag, wire::Result{device::Status::Ok, version});
    }
    if (const auto* told = std::get_if<wire::GraphSeen>(&body)) seen = told->version;
  });
  ASSERT_NE(session, nullptr);
  for (std::uint64_t i = 0; i < wire::MinGraphWindow; ++i) {
    ASSERT_EQ(session->patch(i % 2 == 0, {0, 0, 1, 1}, session->number()), device::Status::Ok);
    ASSERT_LE(version - seen, wire::MinGraphWindow / 2);
  }
}

// Slow over each single answer, but never so slow as to be given up for one.
TEST_F(SessionTest, CallOfSeveralRequestsHasOneDeadline) {
  std::atomic<bool> slow{false};
  const auto session = openWith([&](PlayedService& service, std::uint32_t tag, const wire::Body& body) {
    if (slow) std::this_thread::sleep_for(channel::AnswerTime * 6 / 10);
    service.answerGreeting(tag, body);
    if (std::holds_alternative<wire::AskLinks>(body)) service.reply(tag, wire::Links{});
    if (std::holds_alternative<wire::Patch>(body)) service.reply(tag, wire::Result{});
  });
  ASSERT_NE(session, nullptr);
  slow = true;
  // Three requests: for news, for all connections, and for the change.
  EXPECT_EQ(session->patch(true, {0, 0, 1, 1}, session->number()), std::nullopt);
  slow = false;
}

TEST_F(SessionTest, RequestsFailAfterClose) {
  const auto session = openWith(
      [](PlayedService& service, std::uint32_t tag, const wire::Body& body) { service.answerGreeting(tag, body); });
  ASSERT_NE(session, nullptr);
  session->close();
  session->close();
  Ports ports{{9, 9}};
  EXPECT_EQ(session->tap(1, "x", 1004), std::nullopt);
  EXPECT_EQ(session->untapAll(1), std::nullopt);
  EXPECT_FALSE(session->send(1, 0, service::Bytes{0xF8}));
  EXPECT_FALSE(session->device());
  EXPECT_EQ(session->patch(true, {}, session->number()), std::nullopt);
  EXPECT_FALSE(session->peersOf({0, 0, device::Side::Source}, session->number(), ports));
  EXPECT_FALSE(session->peersOf({0, 0, device::Side::Sink}, session->number(), ports));
  EXPECT_EQ(ports, Ports{});
  EXPECT_EQ(session->receiveEvent(0), EvtSrv::EvtRes_DoNothing);
}

TEST_F(SessionTest, SenderWaitsForTheWindowAndNoLonger) {
  std::atomic<std::uint64_t> arrived{0};
  std::atomic<bool> take{false};
  const auto session = openWith([&](PlayedService& service, std::uint32_t tag, const wire::Body& body) {
    service.answerGreeting(tag, body);
    if (std::holds_alternative<wire::Send>(body)) ++arrived;
    // The first eight are taken when the test says so.
    if (std::holds_alternative<wire::UntapAll>(body)) service.reply(tag, wire::Result{});
    if (std::holds_alternative<wire::Send>(body) && (take || arrived == 8)) {
      const testsupport::Deadline deadline(Patience);
      while (!take && !deadline.passed()) std::this_thread::yield();
      service.reply(0, wire::Taken{arrived});
    }
  });
  ASSERT_NE(session, nullptr);
  const service::Bytes clock{0xF8};
  for (int i = 0; i < 8; ++i) ASSERT_TRUE(session->send(1, 0, clock));
  std::atomic<bool> ninth{false};
  std::thread sender([&] { ninth = session->send(1, 0, clock); });
  const testsupport::Deadline deadline(Patience);
  while (arrived < 8 && !deadline.passed()) std::this_thread::yield();
  EXPECT_FALSE(ninth) << "the window is used up";
  take = true;
  sender.join();
  EXPECT_TRUE(ninth);
}

TEST_F(SessionTest, SenderGivesUpWhenTheServiceTakesNothing) {
  const auto session = openWith(
      [](PlayedService& service, std::uint32_t tag, const wire::Body& body) { service.answerGreeting(tag, body); });
  ASSERT_NE(session, nullptr);
  int sent = 0;
  while (sent < 100 && session->send(1, 0, service::Bytes{0xF8})) ++sent;
  EXPECT_EQ(sent, 8);
}

// The same code, whatever the transport.
TEST(SessionTransport, WorksOverSocketsOfTheSystem) {
  const testsupport::ScratchFolder folder;
  const std::string path = folder.path() / "service";
  service::Told told;
  auto device = std::make_unique<service::TestDevice>(service::evenTopology(2, 2), std::vector<device::Link>{}, told);
  device->remembersDeliveries = false;
  host::RunningHost host(path, std::move(device), {.service = {}, .firstHandle = 0});
  {
    const auto opened = Session::open(channel::Connector::toLocalSocket(path), "test");
    const auto* found = std::get_if<std::shared_ptr<Session>>(&opened);
    EXPECT_NE(found, nullptr);
    if (found != nullptr) {
      const auto& session = *found;
      EXPECT_EQ(session->tap(1, "G0Out1", 1004), device::Status::Ok);
      for (int i = 0; i < 5000; ++i) ASSERT_TRUE(session->send(1, 0, service::Bytes{0xF8}));
      EXPECT_EQ(session->patch(true, {0, 1, 1, 1}, session->number()), device::Status::Ok);
      Ports ports;
      EXPECT_TRUE(session->peersOf({1, 1, device::Side::Sink}, session->number(), ports));
      EXPECT_EQ(ports, (Ports{{0, 1}}));
      EXPECT_EQ(session->device()->topology.groups.size(), 2U);
    }
  }
  host.end();
  EXPECT_EQ(told, (service::Told{"start", "use G0Out1", "use G0Out2", "unuse G0Out1"})) << "the goodbye has arrived";
}

}  // namespace
}  // namespace client
