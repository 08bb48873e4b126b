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

class Injecting : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(channel_.greet(Deadline(AnswerTime))); }

  wire::Stats stats() { return channel_.ask<wire::Stats>(wire::AskStats{channel_.session()}).value_or(wire::Stats{}); }

  TestService service_;  // not a stand-in
  Connector connector_ = reach::connectorTo(service_.service());
  ControlChannel channel_{connector_};
};

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
