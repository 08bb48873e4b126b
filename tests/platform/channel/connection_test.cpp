#include "platform/channel/connection.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/channel/frames.h"
#include "platform/system/local_socket.h"

namespace channel {
namespace {

using namespace std::chrono_literals;
using Wait = Connection::Wait;

constexpr std::chrono::seconds Patience{20};

class ConnectionTest : public testing::Test {
 protected:
  // Frames in one piece.
  void write(std::initializer_list<std::string_view> messages, std::string_view rest = {}) {
    std::vector<std::uint8_t> bytes;
    for (const auto message : messages) {
      appendFrame(std::vector<std::uint8_t>(message.begin(), message.end()), bytes);
    }
    bytes.insert(bytes.end(), rest.begin(), rest.end());
    ASSERT_EQ(::send(other_.get(), bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
  }

  static std::string text(std::optional<std::span<const std::uint8_t>> message) {
    return message ? std::string(message->begin(), message->end()) : "none";
  }

  std::pair<sys::UniqueDescriptor, sys::UniqueDescriptor> sockets_ = sys::localSocketPair();
  sys::UniqueDescriptor other_ = std::move(sockets_.first);
  Connection connection_{std::move(sockets_.second)};
};

TEST_F(ConnectionTest, RestIsWhatTheWaitHasFound) {
  write({"one", "two"});
  ASSERT_EQ(connection_.wait(Deadline(Patience)), Wait::Ready);
  EXPECT_EQ(text(connection_.receiveRest()), "one");
  write({"three"});
  EXPECT_EQ(text(connection_.receiveRest()), "two");
  EXPECT_EQ(text(connection_.receiveRest()), "none");
  ASSERT_EQ(connection_.wait(Deadline(0ms)), Wait::Ready);
  EXPECT_EQ(text(connection_.receiveRest()), "three");
  write({"four"});
  EXPECT_EQ(text(connection_.receive()), "four") << "it looks at the socket";
}

TEST_F(ConnectionTest, EndIsNoticedAfterAReadThatTookAll) {
  write({"one"});
  ASSERT_EQ(connection_.wait(Deadline(Patience)), Wait::Ready);
  EXPECT_EQ(text(connection_.receiveRest()), "one");
  EXPECT_EQ(connection_.wait(Deadline(0ms)), Wait::Over);
  other_.reset();
  EXPECT_EQ(connection_.wait(Deadline(Patience)), Wait::Closed);
}

TEST_F(ConnectionTest, FrameThatIsTooLongEndsItBehindGoodOnes) {
  write({"one", "two"}, "\xFF\xFF\xFF\xFF");
  ASSERT_EQ(connection_.wait(Deadline(Patience)), Wait::Ready);
  EXPECT_EQ(text(connection_.receiveRest()), "one");
  EXPECT_EQ(text(connection_.receiveRest()), "two");
  EXPECT_EQ(connection_.wait(Deadline(Patience)), Wait::Closed);
}

}  // namespace
}  // namespace channel
