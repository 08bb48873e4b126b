#include "platform/host/host.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/host/embedded_service.h"
#include "platform/system/program_line.h"
#include "tests/platform/host/message_text.h"
#include "tests/platform/host/raw_client.h"
#include "tests/platform/service/device.h"
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
  RawClient connect() { return {service_.context(), service_.address()}; }

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
  zmq::context_t context;
  Texts log;
  Host host(context, std::move(device), {}, [&](std::string_view line) { log.emplace_back(line); });
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
  ASSERT_TRUE(bad.send(Bytes(4U << 20U, 0xE5)));
  EXPECT_EQ(answerToHonestClient(), "2: links at 0");
  EXPECT_NE(bad.hello(), 0U) << "and even that one may begin properly";
}

TEST_F(HostTest, MessagesOfSeveralPartsAreIgnored) {
  RawClient bad = connect();
  const Bytes hello = wire::encode(1, wire::Hello{"parts", 1});
  ASSERT_TRUE(bad.send(std::vector<Bytes>{{}, hello}));
  ASSERT_TRUE(bad.send(std::vector<Bytes>{hello, hello, hello}));
  ASSERT_TRUE(bad.send(9, wire::AskLinks{1}));
  const auto answer = bad.receive();
  ASSERT_TRUE(answer);
  EXPECT_EQ(messageText(*answer), "9: no session at 0") << "the first answer is to the only message that counts";
}

TEST_F(HostTest, TruncatedHelloIsRefused) {
  RawClient half = connect();
  Bytes hello = wire::encode(6, wire::Hello{"program", 1});
  hello.resize(hello.size() / 2);
  ASSERT_TRUE(half.send(hello));
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

TEST_F(HostTest, ClientThatAsksWithoutReadingIsRemoved) {
  RawClient deaf = connect();
  const std::uint64_t session = deaf.hello();
  // Far more answers than its socket and the host's hold for it.
  for (std::uint32_t tag = 2; tag < 60'000; ++tag) ASSERT_TRUE(deaf.send(tag, wire::UntapAll{session, 1}));
  EXPECT_EQ(answerToHonestClient(), "2: links at 0");
  std::string last;
  for (std::uint32_t tag = 2; tag < 60'000; ++tag) {
    const auto answer = deaf.receive();
    if (!answer) break;
    last = messageText(*answer);
    if (!last.ends_with("ok at 0")) break;
    // What it reads makes room for what comes after the removal.
    if (tag % 100 == 0) deaf.send(tag, wire::UntapAll{session, 1});
  }
  EXPECT_TRUE(last.ends_with("no session at 0")) << last;
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
  zmq::context_t context;
  Host host(context, smallDevice(told), {}, {});
  EXPECT_EQ(host.bind("inproc://here"), std::nullopt);
  EXPECT_EQ(host.bind("ipc://@flowscope-host-test-" + std::to_string(getpid())), std::nullopt);
  std::thread runner([&] { host.run(); });
  RawClient near(context, "inproc://here");
  RawClient far(context, "ipc://@flowscope-host-test-" + std::to_string(getpid()));
  EXPECT_NE(near.hello(), 0U);
  EXPECT_NE(far.hello(), 0U);
  host.stop();
  runner.join();
}

TEST(Host, SignalsDoNotDisturbTheService) {
  service::Told told;
  zmq::context_t context(0);
  Host host(context, smallDevice(told), {}, {});
  ASSERT_EQ(host.bind("inproc://here"), std::nullopt);
  std::thread runner([&] { host.run(); });
  Texts wrong;
  {
    const testsupport::SignalStorm storm(runner.native_handle());
    RawClient client(context, "inproc://here");
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

TEST(Host, ReportsWhyItCannotBind) {
  service::Told told;
  zmq::context_t context;
  Host host(context, smallDevice(told), {}, {});
  ASSERT_EQ(host.bind("inproc://here"), std::nullopt);
  EXPECT_EQ(host.bind("inproc://here"), "Address already in use");
  EXPECT_NE(host.bind("nonsense"), std::nullopt);
}

TEST(Host, StopBeforeRunIsNotForgotten) {
  service::Told told;
  zmq::context_t context;
  Host host(context, smallDevice(told), {}, {});
  host.stop();
  host.run();
}

}  // namespace
}  // namespace host
