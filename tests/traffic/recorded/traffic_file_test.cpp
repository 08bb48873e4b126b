#include "traffic/traffic_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/traffic/temporary_file.h"

namespace flowscope {
namespace {

TEST(TrafficFile, CloseWritesOutAndEndsTheWriting) {
  const TemporaryFile file;
  TrafficFile traffic;
  EXPECT_FALSE(traffic.isOpen());
  traffic.open(file.name());
  EXPECT_TRUE(traffic.isOpen());
  traffic.write("one ");
  traffic.write("two");
  traffic.close();
  EXPECT_FALSE(traffic.isOpen());
  traffic.write("three");
  traffic.close();
  EXPECT_EQ(file.content(), "one two");
}

TEST(TrafficFile, BytesAreInTheFileAsSoonAsTheyAreWritten) {
  const TemporaryFile file;
  TrafficFile traffic;
  EXPECT_TRUE(traffic.open(file.name()));
  traffic.write("one ");
  EXPECT_EQ(file.content(), "one ");
  traffic.write("two");
  EXPECT_EQ(file.content(), "one two");
  traffic.close();
}

TEST(TrafficFile, AReplacedStreamStaysOpen) {
  const TemporaryFile first;
  const TemporaryFile second;
  TrafficFile traffic;
  traffic.open(first.name());
  traffic.write("kept ");
  traffic.open(second.name());
  traffic.write("more");
  EXPECT_EQ(first.positions().size(), 1U);
  traffic.close();
  EXPECT_EQ(first.content(), "kept ");
  EXPECT_EQ(second.content(), "more");
  EXPECT_EQ(first.positions().size(), 1U);
  EXPECT_EQ(second.positions().size(), 0U);
}

TEST(TrafficFile, IsEmptyWhenItIsOpenedAgain) {
  const TemporaryFile file;
  TrafficFile traffic;
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(traffic.open(file.name()));
    EXPECT_EQ(file.content(), "");
    traffic.write("one " + std::to_string(i));
  }
  // Also what empties the file from outside leaves no hole in it.
  std::ofstream(file.name(), std::ios::trunc).flush();
  traffic.write("two");
  EXPECT_EQ(file.content(), "two");
  traffic.close();
  EXPECT_EQ(file.positions().size(), 2U);
}

TEST(TrafficFile, TakesNothingWhenItCannotBeOpened) {
  const TemporaryFile file;
  TrafficFile traffic;
  EXPECT_TRUE(traffic.open(file.name()));
  EXPECT_FALSE(traffic.open("/nowhere/at/all"));
  EXPECT_FALSE(traffic.isOpen());
  traffic.write("text");
  EXPECT_EQ(file.content(), "");
}

TEST(TrafficFile, ReportsOnceThatTheDiskIsFull) {
  TrafficFile traffic;
  testing::internal::CaptureStderr();
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(traffic.open("/dev/full"));
    traffic.write("one");
    traffic.write("two");
    traffic.close();
  }
  const std::string line = "flowscope: cannot write to /dev/full: No space left on device\n";
  EXPECT_EQ(testing::internal::GetCapturedStderr(), line + line);
}

TEST(TrafficFile, GrowsPastWhatThirtyTwoBitsCount) {
  constexpr std::uintmax_t Before = std::uintmax_t{3} << 30U;
  const TemporaryFile file;
  TrafficFile traffic;
  ASSERT_TRUE(traffic.open(file.name()));
  std::filesystem::resize_file(file.name(), Before);
  traffic.write("text\n");
  traffic.close();
  EXPECT_EQ(std::filesystem::file_size(file.name()), Before + 5);
}

TEST(TrafficFile, OutlivesTheReaderOfAPipe) {
  const std::string name = testing::TempDir() + "pipe_" + std::to_string(::getpid());
  ASSERT_EQ(::mkfifo(name.c_str(), 0600), 0);
  const int reader = ::open(name.c_str(), O_RDONLY | O_NONBLOCK);
  TrafficFile traffic;
  EXPECT_TRUE(traffic.open(name.c_str()));
  traffic.write("read");
  std::string text(4, ' ');
  EXPECT_EQ(::read(reader, text.data(), text.size()), 4);
  EXPECT_EQ(text, "read");
  ::close(reader);
  testing::internal::CaptureStderr();
  traffic.write("one");
  traffic.write("two");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "flowscope: cannot write to " + name + ": Broken pipe\n");
  traffic.close();
  ::unlink(name.c_str());
  // The signal is neither blocked nor waiting.
  sigset_t blocked;
  sigset_t waiting;
  pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
  sigpending(&waiting);
  EXPECT_EQ(sigismember(&blocked, SIGPIPE), 0);
  EXPECT_EQ(sigismember(&waiting, SIGPIPE), 0);
}

}  // namespace
}  // namespace flowscope
