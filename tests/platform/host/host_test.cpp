#include "platform/host/host.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/channel/connection.h"
#include "platform/host/embedded_service.h"
#include "platform/system/local_socket.h"
#include "platform/system/program_line.h"
#include "tests/platform/host/message_text.h"
#include "tests/platform/host/raw_client.h"
#include "tests/platform/service/device.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/signal_storm.h"

namespace host {
namespace {

using service::Bytes;
using Texts = std::vector<std::string>;

std::unique_ptr<device::Driver> smallDevice(service::Told& told) {
  auto device = std::make_unique<service::TestDevice>(service::evenTopology(2, 2), std::vector<device::Link>{}, told);
  device->remembersDeliveries = false;
  return device;
}

class HostTest : public testing::Test {
 protected:
  RawClient connect() { return RawClient(service_.connect()); }

  // What the service answers to an honest client now.
  std::string answerToHonestClient() {
    RawClient client = connect();
    const std::uint64_t session = client.hello();
    client.send(2, wire::AskLinks{session});
    const auto answer = client.receive();
    return answer ? messageText(*answer) : "silence";
  }

  service::Told told_;
  EmbeddedService service_{smallDevice(told_)};
};

TEST_F(HostTest, AnswersRequests) { EXPECT_EQ(answerToHonestClient(), "2: links at 0"); }

TEST(Host, LogsTheRestAtItsEnd) {
  service::Told told;
  auto device = std::make_unique<service::TestDevice>(service::evenTopology(1, 1), std::vector<device::Link>{}, told);
  device->onFinish = [](device::DriverEvents& events) { events.noted("4 periods skipped"); };
  Texts log;
  Host host(std::move(device), {}, [&](std::string_view line) { log.emplace_back(line); });
  host.stop();
  host.run();
  EXPECT_EQ(log, Texts{"4 periods skipped"});
}

TEST_F(HostTest, GarbageHarmsOnlyItsSender) {
  RawClient bad = connect();
  std::mt19937 random(5);
  for (std::size_t size = 0; size < 300; ++size) {
    Bytes bytes(size);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    ASSERT_TRUE(bad.send(bytes));
  }
  EXPECT_EQ(answerToHonestClient(), "2: links at 0");
  EXPECT_NE(bad.hello(), 0U) << "and even that one may begin properly";
}

TEST_F(HostTest, TruncatedRequestIsRefused) {
  RawClient half = connect();
  Bytes request = wire::encode(6, wire::OpenEvents{1});
  request.resize(request.size() / 2);
  ASSERT_TRUE(half.send(request));
  const auto answer = half.receive();
  ASSERT_TRUE(answer);
  EXPECT_EQ(messageText(*answer), "6: bad request at 0");
}

TEST_F(HostTest, SilentClientsCostNothing) {
  std::vector<RawClient> silent;
  for (int i = 0; i < 20; ++i) silent.push_back(connect());
  EXPECT_NE(silent.front().hello(), 0U);
  EXPECT_EQ(answerToHonestClient(), "2: links at 0");
}

TEST_F(HostTest, FrameThatIsTooLongEndsItsConnection) {
  RawClient bad = connect();
  ASSERT_NE(bad.hello(), 0U);
  bad.send(Bytes(channel::MaxFrameBytes + 1, 0xE5));
  EXPECT_FALSE(bad.receive());
  EXPECT_EQ(answerToHonestClient(), "2: links at 0");
}

TEST_F(HostTest, LongestFrameIsTakenWhole) {
  RawClient client = connect();
  const std::uint64_t session = client.hello();
  ASSERT_TRUE(client.send(0, wire::Send{session, 1, 0, Bytes(device::MaxMessageBytes, 0x11)}));
  const auto answer = client.receive();
  ASSERT_TRUE(answer);
  EXPECT_EQ(messageText(*answer), "taken 1");
}

TEST_F(HostTest, ClientThatDoesNotReadItsAnswersIsNotReadFrom) {
  RawClient deaf = connect();
  const std::uint64_t session = deaf.hello();
  constexpr std::uint32_t Many = 1'000'000;  // far more answers than may wait for it
  std::uint32_t asked = 2;
  while (asked < Many && deaf.send(asked, wire::UntapAll{session, 1}, std::chrono::milliseconds(300))) ++asked;
  EXPECT_LT(asked, Many);
  EXPECT_EQ(answerToHonestClient(), "2: links at 0");
  Texts wrong;
  for (std::uint32_t tag = 2; tag <= asked && wrong.empty(); ++tag) {
    const auto answer = deaf.receive();
    const std::string text = answer ? messageText(*answer) : "silence";
    if (text != std::to_string(tag) + ": ok at 0") wrong.push_back(text);
  }
  EXPECT_EQ(wrong, Texts{}) << "all answers are there once it reads";
}

TEST_F(HostTest, OtherClientsAreServedWhileOneFloods) {
  RawClient flooding = connect();
  const std::uint64_t session = flooding.hello();
  const Bytes note = wire::encode(0, wire::Send{session, 1, 0, {0x90, 1, 1}});
  std::atomic<bool> stop{false};
  std::thread flood([&] {
    while (!stop && flooding.send(note)) continue;
  });
  Texts answers;
  for (int i = 0; i < 20; ++i) answers.push_back(answerToHonestClient());
  stop = true;
  flood.join();
  EXPECT_EQ(answers, Texts(20, "2: links at 0"));
}

TEST(Host, ServesSeveralEndpointsAtOnce) {
  service::Told told;
  const testsupport::ScratchFolder folder;
  Host host(smallDevice(told), {}, {});
  EXPECT_EQ(host.listen(folder.path() / "near"), std::nullopt);
  EXPECT_EQ(host.listen(folder.path() / "far"), std::nullopt);
  std::thread runner([&] { host.run(); });
  RawClient near(folder.path() / "near");
  RawClient far(folder.path() / "far");
  EXPECT_NE(near.hello(), 0U);
  EXPECT_NE(far.hello(), 0U);
  host.stop();
  runner.join();
}

TEST(Host, SignalsDoNotDisturbTheService) {
  service::Told told;
  const testsupport::ScratchFolder folder;
  Host host(smallDevice(told), {}, {});
  ASSERT_EQ(host.listen(folder.path() / "here"), std::nullopt);
  std::thread runner([&] { host.run(); });
  Texts wrong;
  {
    const testsupport::SignalStorm storm(runner.native_handle());
    RawClient client(folder.path() / "here");
    const std::uint64_t session = client.hello();
    for (std::uint32_t tag = 2; tag < 10'000 && wrong.empty(); ++tag) {
      client.send(tag, wire::UntapAll{session, 1});
      const auto answer = client.receive();
      const std::string text = answer ? messageText(*answer) : "silence";
      if (text != std::to_string(tag) + ": ok at 0") wrong.push_back(text);
    }
  }
  host.stop();
  runner.join();
  EXPECT_EQ(wrong, Texts{});
}

TEST(Host, DeviceThatThrowsEndsTheServiceAndNotTheProgram) {
  service::Told told;
  auto device = std::make_unique<service::TestDevice>(service::evenTopology(1, 1), std::vector<device::Link>{}, told);
  std::promise<void> reached;
  device->onAdvance = [&reached](device::DriverEvents&, device::Time) -> std::optional<device::Time> {
    reached.set_value();
    throw std::runtime_error("no memory");
  };
  testing::internal::CaptureStderr();
  {
    const EmbeddedService service(std::move(device));
    reached.get_future().wait();
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), sys::programLine("the service stopped: no memory\n"));
}

// A client that connects at the moment when the service stops must not wait for answers.
TEST(Host, SocketThatComesAfterTheEndIsClosed) {
  service::Told told;
  Host host(smallDevice(told), {}, {});
  auto before = sys::localSocketPair();
  host.adopt(std::move(before.second));
  host.stop();
  host.run();
  auto after = sys::localSocketPair();
  host.adopt(std::move(after.second));
  for (sys::UniqueDescriptor* end : {&before.first, &after.first}) {
    channel::Connection client(std::move(*end));
    EXPECT_TRUE(client.closed());
  }
}

TEST(Host, ReportsWhyItCannotListen) {
  service::Told told;
  const testsupport::ScratchFolder folder;
  Host host(smallDevice(told), {}, {});
  ASSERT_EQ(host.listen(folder.path() / "here"), std::nullopt);
  EXPECT_EQ(host.listen(folder.path() / "here"), "Address already in use");
  EXPECT_EQ(host.listen(folder.path() / "missing" / "here"), "No such file or directory");
  EXPECT_EQ(host.listen(std::string(200, 'x')), "File name too long");
}

TEST(Host, StopBeforeRunIsNotForgotten) {
  service::Told told;
  Host host(smallDevice(told), {}, {});
  host.stop();
  host.run();
}

}  // namespace
}  // namespace host
