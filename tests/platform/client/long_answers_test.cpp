// Sessions and answers in pieces.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "platform/channel/control_channel.h"
#include "platform/client/session.h"
#include "platform/system/program_line.h"
#include "tests/platform/client/fixture.h"
#include "tests/platform/client/played_service.h"
#include "tests/support/scratch_folder.h"

namespace client {
namespace {

using Session = EvtSrv::EventPortManager::Session;
using Ports = std::vector<device::PortId>;

constexpr std::uint16_t Ends = 150;  // all pairs of them are more than two pieces

class LongAnswers : public testing::Test {
 protected:
  LongAnswers() {
    std::vector<device::Link> links;
    for (std::uint16_t source = 0; source < Ends; ++source) {
      for (std::uint16_t sink = 0; sink < Ends; ++sink) links.push_back({0, source, 0, sink});
    }
    host::Settings settings;
    settings.firstHandle = 0;
    service_ = std::make_shared<host::EmbeddedService>(
        std::make_unique<service::TestDevice>(service::evenTopology(1, Ends), std::move(links), told_), settings);
  }

  std::shared_ptr<Session> open() {
    auto opened = Session::open(reach::connectorTo(service_), "test");
    return std::get<std::shared_ptr<Session>>(std::move(opened));
  }

  // The peers of all ports as a session sees them, sources before sinks.
  static std::vector<Ports> graph(Session& session) {
    std::vector<Ports> all;
    for (const auto side : {device::Side::Source, device::Side::Sink}) {
      for (std::uint16_t index = 0; index < Ends; ++index) {
        EXPECT_TRUE(session.peersOf({0, index, side}, session.number(), all.emplace_back()));
      }
    }
    return all;
  }

  service::Told told_;
  std::shared_ptr<host::EmbeddedService> service_;
};

TEST_F(LongAnswers, MirrorIsRightWhileOthersChangeTheGraph) {
  std::atomic<bool> stop{false};
  std::atomic<std::uint64_t> changes{0};
  std::thread changer([&] {
    const auto session = open();
    std::mt19937 random(3);
    const auto anyPort = [&] { return static_cast<std::uint16_t>(random() % Ends); };
    while (!stop) {
      const device::Link link{0, anyPort(), 0, anyPort()};
      if (session->patch(false, link, session->number()) == device::Status::Ok) ++changes;
      if (random() % 2 == 0) session->patch(true, link, session->number());
    }
  });
  std::vector<std::shared_ptr<Session>> sessions;
  for (int i = 0; i < 10; ++i) {
    const std::uint64_t before = changes;
    sessions.push_back(open());
    Ports ports;
    EXPECT_TRUE(sessions.back()->peersOf({0, 0, device::Side::Source}, sessions.back()->number(), ports));
    const testsupport::Deadline deadline(Patience);
    while (changes < before + 20 && !deadline.passed()) std::this_thread::yield();
  }
  stop = true;
  changer.join();
  const auto expected = graph(*open());
  for (const auto& session : sessions) {
    // Its own request comes after all changes.
    EXPECT_EQ(session->patch(true, {0, 0, 0, Ends}, session->number()), device::Status::NotFound);
    EXPECT_EQ(graph(*session), expected);
  }
}

// A service in another process that answers like this, and a session with it.
class AnsweringService {
 public:
  explicit AnsweringService(PlayedService::Answer answer) : service_(path_, std::move(answer)) {
    auto opened = Session::open(channel::Connector::toLocalSocket(path_), "test");
    session_ = std::get<std::shared_ptr<Session>>(std::move(opened));
  }
  ~AnsweringService() { session_.reset(); }
  AnsweringService(const AnsweringService&) = delete;
  AnsweringService& operator=(const AnsweringService&) = delete;

  Session& session() { return *session_; }

 private:
  testsupport::ScratchFolder folder_;
  std::string path_ = folder_.path() / "service";
  PlayedService service_;
  std::shared_ptr<Session> session_;
};

TEST(LongAnswersOfAService, ThatAreWrongEndTheConnectionWithOneLine) {
  std::atomic<int> asked{0};
  AnsweringService service([&](PlayedService& self, std::uint32_t tag, const wire::Body& body) {
    self.answerGreeting(tag, body);
    if (!std::holds_alternative<wire::AskTopology>(body)) return;
    ++asked;
    self.reply(tag, wire::Topology{{}, {.first = false, .more = true}});
  });
  testing::internal::CaptureStderr();
  service.session().list({});
  EXPECT_FALSE(service.session().device());
  EXPECT_EQ(service.session().number(), 0U);
  const testsupport::Deadline given(std::chrono::milliseconds(1500));
  while (!given.passed()) {
    service.session().receiveEvent(10);
    EXPECT_FALSE(service.session().device()) << "at once";
  }
  EXPECT_EQ(
      testing::internal::GetCapturedStderr(),
      sys::programLine("test: ") + "connection closed: the service sent an answer whose pieces do not fit together\n");
  EXPECT_EQ(asked, 1);
}

TEST(LongAnswersOfAService, EventMessageThatIsTooLongEndsTheConnectionWithOneLine) {
  const wire::Original large(device::MaxMessageBytes);
  AnsweringService service([&](PlayedService& self, std::uint32_t tag, const wire::Body& body) {
    self.answerGreeting(tag, body);
    if (std::holds_alternative<wire::OpenEvents>(body)) {
      self.toEventChannel(wire::Originals{{{1, large, {large}, {}}}});
    }
  });
  testing::internal::CaptureStderr();
  const testsupport::Deadline deadline(Patience);
  while (service.session().number() != 0 && !deadline.passed()) service.session().receiveEvent(10);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            sys::programLine("test: ") + "connection closed: the service sent a message that is too long\n");
}

}  // namespace
}  // namespace client
