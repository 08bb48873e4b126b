// The line about messages that another system has no form for.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/client/session.h"
#include "platform/system/program_line.h"
#include "platform/wire/loss_text.h"
#include "tests/platform/client/fixture.h"
#include "tests/platform/client/played_service.h"
#include "tests/support/scratch_folder.h"

namespace client {
namespace {

using EvtSrv::EventPortManager;
using Session = EventPortManager::Session;

std::string lineOf(std::uint64_t count) { return sys::programLine(wire::unsendableText(count)) + '\n'; }

// A device with 16 channels, and a client whose port taps a sink of it.
class UnsendableLine : public testing::Test {
 protected:
  UnsendableLine() {
    manager_.emplace(EvtSrv::ConBehave_Default, true);
    port_.emplace(*manager_);
    EXPECT_EQ(port_->tap("G0In1"), EvtSrv::EvtRes_Success);
    testing::internal::CaptureStderr();
  }
  ~UnsendableLine() override { testing::internal::GetCapturedStderr(); }

  void send(std::uint16_t group, int count = 1) {
    for (int i = 0; i < count; ++i) ASSERT_EQ(port_->sendNoteOn(1, 1, group), StrmSrv::StrmRes_Success);
  }

  // What the library has said since the last time.
  static std::string said() {
    std::string text = testing::internal::GetCapturedStderr();
    testing::internal::CaptureStderr();
    return text;
  }

  // Of the counts in these lines.
  static std::uint64_t sumOf(const std::string& lines) {
    std::uint64_t sum = 0;
    const std::string front = sys::programLine("");
    for (std::size_t at = lines.find(front); at != std::string::npos; at = lines.find(front, at + 1)) {
      sum += std::stoull(lines.substr(at + front.size()));
    }
    return sum;
  }

  // The next line that it says while it receives.
  std::string nextLine() {
    std::string text;
    EXPECT_TRUE(receiveUntil(*manager_, [&] { return !(text = said()).empty(); }));
    return text;
  }

  TestService service_{service::evenTopology(3, 2), {}, [](service::TestDevice& device) {
                         device.isUnsendable = [](device::PortId, const device::Message& message) {
                           return message.group > 15;
                         };
                       }};
  std::optional<EventPortManager> manager_;
  std::optional<RecordingPort> port_;
};

TEST_F(UnsendableLine, ComesAtTheEndOfAClientThatDoesNotReceive) {
  send(16, 3);
  send(15, 3);
  EXPECT_EQ(said(), "");
  port_.reset();
  manager_.reset();
  EXPECT_EQ(said(), lineOf(3));
}

TEST_F(UnsendableLine, DoesNotComeWithoutSuchMessages) {
  send(15, 3);
  port_.reset();
  manager_.reset();
  EXPECT_EQ(said(), "");
}

TEST_F(UnsendableLine, ComesWhileTheClientReceivesOnceASecondAtMost) {
  using Clock = std::chrono::steady_clock;
  send(16);
  const auto before = Clock::now();
  EXPECT_EQ(nextLine(), lineOf(1));
  send(16, 2);
  send(17, 2);
  std::string lines;
  EXPECT_TRUE(receiveUntil(*manager_, [&] { return sumOf(lines += said()) >= 4; }));
  EXPECT_EQ(sumOf(lines), 4U) << lines;
  EXPECT_GE(Clock::now() - before, std::chrono::seconds(1));
}

TEST_F(UnsendableLine, ComesWhileTheClientOnlySends) {
  const testsupport::Deadline deadline(Patience);
  std::uint64_t sent = 0;
  std::string lines;
  for (; lines.empty() && !deadline.passed(); lines = said()) {
    send(16, 100);
    sent += 100;
  }
  EXPECT_NE(lines.find(" messages not sent: "), std::string::npos) << lines;
  // The rest follows at the end, with nothing counted twice.
  port_.reset();
  manager_.reset();
  lines += said();
  EXPECT_EQ(sumOf(lines), sent) << lines;
}

TEST(UnsendableSession, NextServiceCountsAnew) {
  testing::internal::CaptureStderr();
  const testsupport::ScratchFolder folder;
  const std::string path = folder.path() / "service";
  const auto play = [&path] {
    auto sends = std::make_shared<std::uint64_t>(0);
    return std::make_unique<PlayedService>(path,
                                           [sends](PlayedService& service, std::uint32_t tag, const wire::Body& body) {
                                             service.answerGreeting(tag, body);
                                             if (std::holds_alternative<wire::UntapAll>(body))
                                               service.reply(tag, wire::Result{});
                                             if (!std::holds_alternative<wire::Send>(body)) return;
                                             ++*sends;
                                             service.reply(0, wire::Taken{*sends, *sends});
                                           });
  };
  auto service = play();
  const auto opened = Session::open(channel::Connector::toLocalSocket(path), "test");
  const auto* found = std::get_if<std::shared_ptr<Session>>(&opened);
  ASSERT_NE(found, nullptr);
  Session& session = **found;
  const auto sendTwo = [&] {
    for (int i = 0; i < 2; ++i) ASSERT_TRUE(session.send(1, 16, service::Bytes{0xF8}));
    // The answer comes after what the service says of the messages.
    ASSERT_EQ(session.untapAll(1), device::Status::Ok);
  };
  sendTwo();
  service.reset();
  EXPECT_FALSE(session.device()) << "notices that the service has gone";
  const std::string lost = sys::programLine("test: connection to the service lost\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), lineOf(2) + lost);

  testing::internal::CaptureStderr();
  service = play();
  const testsupport::Deadline deadline(Patience);
  while (session.number() == 0 && !deadline.passed()) session.receiveEvent(10);
  sendTwo();
  session.close();
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_NE(said.find(lineOf(2)), std::string::npos) << said;
}

}  // namespace
}  // namespace client
