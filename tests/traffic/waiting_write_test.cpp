#include "traffic/waiting_write.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>

#include "tests/support/unique_fd.h"
#include "tests/traffic/thread_writes.h"

namespace flowscope {
namespace {

using namespace std::chrono_literals;
using testsupport::UniqueFd;

// A counter, to which a number is added by writing it. While there is room for a smaller one, poll says that there is
// room, and a larger one is refused.
class CounterWithLittleRoom {
 public:
  // What is added has this many bytes.
  static constexpr std::size_t Size = sizeof(std::uint64_t);

  int descriptor() const { return counter_.get(); }

  PendingText& largeNumber() {
    EXPECT_TRUE(text_.appendWhole({large_.data(), large_.size()}));
    return text_;
  }

  void makeRoom() {
    std::uint64_t before = 0;
    EXPECT_EQ(read(counter_.get(), &before, sizeof before), static_cast<ssize_t>(sizeof before));
    EXPECT_EQ(before, 1U);
  }

  std::uint64_t value() {
    std::uint64_t value = 0;
    EXPECT_EQ(read(counter_.get(), &value, sizeof value), static_cast<ssize_t>(sizeof value));
    return value;
  }

  static constexpr std::uint64_t Large = UINT64_MAX - 1;

 private:
  static std::array<char, Size> bytesOf(std::uint64_t number) {
    std::array<char, Size> bytes{};
    std::memcpy(bytes.data(), &number, Size);
    return bytes;
  }

  UniqueFd counter_{eventfd(1, EFD_NONBLOCK | EFD_CLOEXEC)};
  std::array<char, Size> large_ = bytesOf(Large);
  PendingText text_;
};

TEST(WaitingWrite, DoesNotAskAllTheTimeWhereRoomIsTooLittle) {
  CounterWithLittleRoom counter;
  Patience patience;
  patience.end();
  const std::uint64_t before = writesOfThisThread();
  EXPECT_EQ(writeWaiting(counter.descriptor(), counter.largeNumber(), patience), EAGAIN);
  const std::uint64_t tried = writesOfThisThread() - before;
  if (tried == 0) GTEST_SKIP() << "this system does not count what a thread writes";
  EXPECT_GE(tried, 2U);
  // With 100 milliseconds, and pauses of 1, 2, 4, 8 and then 16 of them, a dozen.
  EXPECT_LE(tried, 30U);
}

TEST(WaitingWrite, GoesOnWhenRoomIsEnoughAtLast) {
  CounterWithLittleRoom counter;
  const Patience patience;
  int answer = -1;
  std::thread writer([&] { answer = writeWaiting(counter.descriptor(), counter.largeNumber(), patience); });
  std::this_thread::sleep_for(50ms);
  counter.makeRoom();
  writer.join();
  EXPECT_EQ(answer, 0);
  EXPECT_EQ(counter.value(), CounterWithLittleRoom::Large);
}

TEST(WaitingWrite, TellsAnErrorAtOnce) {
  const UniqueFd readOnly(open("/dev/null", O_RDONLY | O_CLOEXEC));
  PendingText text;
  EXPECT_TRUE(text.appendWhole("text"));
  EXPECT_EQ(writeWaiting(readOnly.get(), text, Patience()), EBADF);
}

}  // namespace
}  // namespace flowscope
