#include "platform/channel/event_channel.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/platform/channel/fake_service.h"

namespace channel {
namespace {

constexpr std::chrono::milliseconds NoTime{0};

class EventChannelTest : public testing::Test {
 protected:
  EventChannelTest() { testing::internal::CaptureStderr(); }
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

  bool receiveWithoutTime() {
    const auto take = [this](std::uint32_t eventPort, std::string_view port, std::span<const std::uint8_t> event) {
      if (eventPort != Known) return false;
      EXPECT_EQ(event.size(), wire::EventHeaderBytes + wire::RecordOverheadBytes + 3);
      taken_.emplace_back(port);
      return true;
    };
    return channel_.receive(take, Deadline(NoTime));
  }

  static constexpr std::uint32_t Known = 4;  // the client's event port

  FakeService service_;
  Connector connector_ = service_.connector();
  EventChannel channel_{connector_, wire::Welcome{7, 8}, Deadline(AnswerTime)};
  std::vector<std::string> taken_;  // the ports of the events
};

TEST_F(EventChannelTest, EveryMessageIsDeliveredWithoutTime) {
  for (int message = 0; message < 3; ++message) {
    std::vector<std::uint8_t> entries;
    appendEvent(entries, Known);
    service_.send(0, wire::Events{entries});
  }
  for (std::size_t received = 1; received <= 3; ++received) {
    EXPECT_TRUE(receiveWithoutTime());
    EXPECT_EQ(taken_.size(), received);
  }
  EXPECT_FALSE(receiveWithoutTime());
}

TEST_F(EventChannelTest, EntriesForNobodyDoNotUseUpTheTime) {
  std::vector<std::uint8_t> entries;
  wire::appendEventEntry({.lost = 5}, entries);
  appendEvent(entries, Known + 1);
  wire::appendEventEntry({.lost = 5}, entries);
  appendEvent(entries, Known);
  service_.send(0, wire::Events{entries});
  EXPECT_TRUE(receiveWithoutTime());
  EXPECT_EQ(taken_, std::vector<std::string>{"P"});
}

}  // namespace
}  // namespace channel
