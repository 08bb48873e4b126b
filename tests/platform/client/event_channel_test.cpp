#include "platform/client/event_channel.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "tests/platform/client/fake_service.h"
#include "tests/platform/client/fixture.h"

namespace client {
namespace {

constexpr std::chrono::milliseconds NoTime{0};

class EventChannelTest : public testing::Test {
 protected:
  EventChannelTest() {
    testing::internal::CaptureStderr();
    number_ = ports_.add(port_);
  }
  ~EventChannelTest() override { testing::internal::GetCapturedStderr(); }

  // The client asks for events; the answer does not matter here.
  void SetUp() override {
    EXPECT_FALSE(channel_.open(Deadline(NoTime)));
    ASSERT_TRUE(service_.receive());
  }

  void appendEvent(std::vector<std::uint8_t>& entries, std::uint32_t port) {
    std::vector<std::uint8_t> event(wire::EventHeaderBytes);
    wire::appendRecord(0, std::array<std::uint8_t, 3>{0x90, 1, 2}, event);
    wire::writeEventHeader({.size = static_cast<std::uint32_t>(event.size())},
                           std::span(event).first<wire::EventHeaderBytes>());
    wire::appendEventEntry({.eventPort = port, .port = "P", .event = event}, entries);
  }

  bool receiveWithoutTime() { return channel_.receive(ports_, Deadline(NoTime)); }

  EndpointVariable endpoint_{"nonsense"};
  EvtSrv::EventPortManager manager_{EvtSrv::ConBehave_Default, true};
  RecordingPort port_{manager_};
  PortRegistry ports_;
  std::uint32_t number_ = 0;
  zmq::context_t context_{0};
  FakeService service_{context_, "inproc://fake"};
  EventChannel channel_{context_, "inproc://fake", 7};
};

TEST_F(EventChannelTest, EveryMessageIsDeliveredWithoutTime) {
  for (int message = 0; message < 3; ++message) {
    std::vector<std::uint8_t> entries;
    appendEvent(entries, number_);
    ASSERT_TRUE(service_.send(0, wire::Events{entries}));
  }
  for (std::size_t received = 1; received <= 3; ++received) {
    EXPECT_TRUE(receiveWithoutTime());
    EXPECT_EQ(port_.texts.size(), received);
  }
  EXPECT_FALSE(receiveWithoutTime());
}

TEST_F(EventChannelTest, EntriesForNobodyDoNotUseUpTheTime) {
  std::vector<std::uint8_t> entries;
  wire::appendEventEntry({.lost = 5}, entries);
  appendEvent(entries, number_ + 1);
  wire::appendEventEntry({.lost = 5}, entries);
  appendEvent(entries, number_);
  ASSERT_TRUE(service_.send(0, wire::Events{entries}));
  EXPECT_TRUE(receiveWithoutTime());
  EXPECT_EQ(port_.texts, std::vector<std::string>{"P: 1 2 0"});
}

}  // namespace
}  // namespace client
