#include "platform/streamd/line_log.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <string>

namespace streamd {
namespace {

class LineLogTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(pipe(ends_.data()), 0); }
  void TearDown() override {
    for (const int end : ends_) close(end);
  }

  void fill() {
    fcntl(ends_[1], F_SETFL, O_NONBLOCK);
    while (write(ends_[1], "x", 1) == 1) {
    }
    fcntl(ends_[1], F_SETFL, 0);
  }

  // What stands in the pipe, which it takes.
  std::string text() {
    fcntl(ends_[0], F_SETFL, O_NONBLOCK);
    std::string all;
    std::array<char, 4096> bytes{};
    for (ssize_t size = 0; (size = read(ends_[0], bytes.data(), bytes.size())) > 0;) {
      all.append(bytes.data(), static_cast<std::size_t>(size));
    }
    return all;
  }

  std::array<int, 2> ends_{-1, -1};
};

TEST_F(LineLogTest, WritesLinesBehindTheNameOfTheProgram) {
  LineLog log(ends_[1]);
  log.write("one");
  log.write("two");
  EXPECT_EQ(text(), "streamd: one\nstreamd: two\n");
}

TEST_F(LineLogTest, LeavesOutAndCountsLinesThatNobodyReads) {
  LineLog log(ends_[1]);
  fill();
  log.write("one");
  log.write("two");
  text();
  log.write("three");
  log.write("four");
  EXPECT_EQ(text(), "streamd: 2 lines dropped: nobody read the log\nstreamd: three\nstreamd: four\n");
  fill();
  log.write("five");
  text();
  log.write("six");
  EXPECT_EQ(text(), "streamd: 1 line dropped: nobody read the log\nstreamd: six\n");
}

TEST(LineLog, FullOrClosedDescriptorIsNoFailure) {
  const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
  ASSERT_GE(full, 0);
  LineLog(full).write("one");
  close(full);
  LineLog(full).write("two");
}

}  // namespace
}  // namespace streamd
