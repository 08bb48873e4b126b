#include "platform/channel/control_channel.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <variant>

#include "platform/reach/running_services.h"
#include "tests/platform/channel/fake_service.h"
#include "tests/platform/client/fixture.h"

namespace channel {
namespace {

using client::Patience;
using client::TestService;

class ControlChannelTest : public testing::Test {
 protected:
  // The client says hello and is welcomed.
  void SetUp() override {
    auto greeted = std::async(std::launch::async, [this] { return channel_.greet(Deadline(Patience)); });
    const testsupport::Deadline deadline(Patience);
    std::optional<wire::Envelope> hello;
    while (!(hello = service_.receive())) ASSERT_FALSE(deadline.passed());
    service_.send(hello->tag, wire::Welcome{7, Window});
    ASSERT_TRUE(greeted.get());
  }

  bool sendNote() { return channel_.send(1, 0, service::Bytes{0x90, 1, 1}); }

  static constexpr std::uint32_t Window = 100;

  FakeService service_;
  Connector connector_ = service_.connector();
  ControlChannel channel_{connector_};
};

TEST_F(ControlChannelTest, GivesUpAtOnceWhenTheServiceHasForgottenTheClient) {
  ASSERT_TRUE(sendNote());
  ASSERT_TRUE(service_.receive());
  service_.send(0, wire::Result{device::Status::NoSession, 0});
  EXPECT_FALSE(channel_.ask<wire::Result>(wire::UntapAll{7, 1}));
  EXPECT_FALSE(sendNote());
  EXPECT_FALSE(service_.receive()) << "nothing more was sent";
}

TEST_F(ControlChannelTest, SenderNoticesAForgottenSessionInTheMiddleOfItsWindow) {
  ASSERT_TRUE(sendNote());
  ASSERT_TRUE(service_.receive());
  service_.send(0, wire::Result{device::Status::NoSession, 0});
  std::uint32_t sent = 1;
  while (sent < Window && sendNote()) ++sent;
  EXPECT_EQ(sent, Window / 2);
}

TEST_F(ControlChannelTest, AnswerThatThereIsNoSessionIsReturned) {
  auto asked = std::async(std::launch::async, [this] { return channel_.ask<wire::Result>(wire::UntapAll{7, 1}); });
  const testsupport::Deadline deadline(Patience);
  std::optional<wire::Envelope> request;
  while (!(request = service_.receive())) ASSERT_FALSE(deadline.passed());
  service_.send(request->tag, wire::Result{device::Status::NoSession, 0});
  const auto answer = asked.get();
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->status, device::Status::NoSession);
  EXPECT_FALSE(sendNote());
}

TEST_F(ControlChannelTest, OtherResultsWithoutARequestAreIgnored) {
  ASSERT_TRUE(sendNote());
  ASSERT_TRUE(service_.receive());
  service_.send(0, wire::Result{device::Status::BadRequest, 0});
  for (std::uint32_t sent = 1; sent < Window; ++sent) ASSERT_TRUE(sendNote()) << sent;
}

TEST_F(ControlChannelTest, CountOfUnsendableMessagesIsTheServicesButNeverMoreThanWereSent) {
  ASSERT_TRUE(sendNote());
  ASSERT_TRUE(sendNote());
  ASSERT_TRUE(channel_.inject("In1", {{16, {0xF8}}, {17, {0xF8}}}));
  while (service_.receive()) continue;
  const auto told = [&](std::uint64_t unsendable) {
    service_.send(0, wire::Taken{1, unsendable});
    channel_.look();
    return channel_.unsendable();
  };
  EXPECT_EQ(channel_.unsendable(), 0U);
  EXPECT_EQ(told(2), 2U);
  EXPECT_EQ(told(4), 4U) << "two sent, and two in one frame";
  EXPECT_EQ(told(3), 4U) << "it never falls";
  EXPECT_EQ(told(5), 4U) << "there were no five";
}

// A channel to a service, not to a stand-in.
class Injecting : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(channel_.greet(Deadline(AnswerTime))); }

  wire::Stats stats() { return channel_.ask<wire::Stats>(wire::AskStats{channel_.session()}).value_or(wire::Stats{}); }

  // Group 2 has 16 channels.
  TestService service_{service::evenTopology(3, 2), {}, [](service::TestDevice& device) {
                         device.isUnsendable = [](device::PortId sink, const device::Message& message) {
                           return sink.group == 2 && message.group > 15;
                         };
                       }};
  Connector connector_ = reach::connectorTo(service_.service());
  ControlChannel channel_{connector_};
};

TEST_F(Injecting, CountsWhatAnotherSystemHasNoFormForUpToTheLastMessage) {
  std::uint64_t expected = 0;
  for (const int frames : {1, 2, 3000}) {
    for (int i = 0; i < frames; ++i) {
      ASSERT_TRUE(channel_.inject("G2In1", {{15, {0xF8}}, {16, {0xF8}}, {65535, {0xF8}}}));
      ASSERT_TRUE(channel_.inject("G1In1", {{16, {0xF8}}}));
    }
    expected += 2 * static_cast<std::uint64_t>(frames);
    ASSERT_TRUE(channel_.finish());
    ASSERT_EQ(channel_.unsendable(), expected);
  }
  EXPECT_EQ(stats().unsendable, expected);
}

TEST_F(Injecting, KnowsAfterTheGoodbyeWhatCouldNotBeSent) {
  ASSERT_TRUE(channel_.inject("G2In1", {{16, {0xF8}}}));
  ASSERT_TRUE(channel_.ask<wire::Result>(wire::Goodbye{channel_.session()}));
  EXPECT_EQ(channel_.unsendable(), 1U);
}

TEST_F(Injecting, IsFinishedWhenTheServiceHasTakenEverything) {
  constexpr int Frames = 5000;  // more than a window
  for (int i = 0; i < Frames; ++i) ASSERT_TRUE(channel_.inject("G0In1", {{0, {0x90, 1, 1}}, {1, {0xFE}}}));
  EXPECT_TRUE(channel_.finish());
  EXPECT_EQ(stats().in, 2U * Frames);
}

TEST_F(Injecting, UnknownPortIsARefusalAtTheEnd) {
  EXPECT_TRUE(channel_.inject("G9In1", {{0, {0xF8}}}));
  EXPECT_FALSE(channel_.finish());
  EXPECT_EQ(channel_.refusal(), device::Status::NotFound);
  EXPECT_FALSE(channel_.lost());
}

// The service, not a stand-in.
TEST(ControlChannel, SendAfterLeavingFails) {
  TestService service;
  const Connector connector = reach::connectorTo(service.service());
  ControlChannel channel(connector);
  ASSERT_TRUE(channel.greet(Deadline(AnswerTime)));
  ASSERT_TRUE(channel.ask<wire::Result>(wire::Goodbye{channel.session()}));
  bool sent = true;
  const testsupport::Deadline deadline(Patience);
  while (sent && !deadline.passed()) sent = channel.send(1, 0, service::Bytes{0x90, 1, 1});
  EXPECT_FALSE(sent);
}

}  // namespace
}  // namespace channel
