// A traffic file that is a named pipe whose reader does not read.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>
#include <thread>

#include "tests/traffic/temporary_file.h"
#include "traffic/traffic_file.h"

namespace flowscope {
namespace {

// A named pipe with a reader that does not read, and a thread that writes far more than fits.
class StoppedReader : public testing::Test {
 protected:
  static constexpr std::size_t Pieces = 40'000;
  static constexpr std::string_view Piece = "0x90 0x3C 0x40 0x01\n";

  void SetUp() override {
    ASSERT_EQ(::mkfifo(name.c_str(), 0600), 0);
    reader = ::open(name.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    ASSERT_TRUE(traffic.open(name.c_str()));
    testing::internal::CaptureStderr();
    writer = std::thread([this] {
      for (std::size_t i = 0; i < Pieces; ++i) {
        traffic.write(Piece);
        ++written;
      }
    });
    // Until the pipe is full: a piece that does not fit into a page begins the next one, so some bytes stay free. What
    // still fits then is written soon.
    const int capacity = ::fcntl(reader, F_GETPIPE_SZ);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    for (int waiting = 0; waiting <= capacity - capacity / 64 && std::chrono::steady_clock::now() < end;) {
      ASSERT_EQ(::ioctl(reader, FIONREAD, &waiting), 0);
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    std::size_t before = 0;
    do {
      before = written;
      std::this_thread::sleep_for(std::chrono::milliseconds(300));
    } while (written != before);
    EXPECT_LT(before, Pieces);
  }

  void TearDown() override {
    traffic.stopWaiting();
    if (writer.joinable()) writer.join();
    ::close(reader);
    ::unlink(name.c_str());
  }

  // Waits for the writer, and answers what standard error has got.
  std::string toldAtTheEnd() {
    writer.join();
    return testing::internal::GetCapturedStderr();
  }

  const std::string name = testing::TempDir() + "stopped_" + std::to_string(::getpid());
  const std::string lostLine =
      "flowscope: cannot write to " + name + ": its reader does not read any more; the rest is lost\n";
  TrafficFile traffic;
  int reader = -1;
  std::atomic<std::size_t> written = 0;
  std::thread writer;
};

TEST_F(StoppedReader, IsWaitedFor) {
  std::string text;
  std::array<char, 65536> part{};
  while (text.size() < Pieces * Piece.size()) {
    const ssize_t count = ::read(reader, part.data(), part.size());
    if (count > 0) text.append(part.data(), static_cast<std::size_t>(count));
    if (count == 0) break;
  }
  EXPECT_EQ(toldAtTheEnd(), "");
  EXPECT_EQ(text.size(), Pieces * Piece.size());
  EXPECT_EQ(text.substr(text.size() - Piece.size()), Piece);
}

TEST_F(StoppedReader, HoldsUpNoClose) {
  traffic.close();
  EXPECT_EQ(toldAtTheEnd(), lostLine);
  EXPECT_EQ(written, Pieces);
}

TEST_F(StoppedReader, HoldsUpNothingWhenNobodyMayWait) {
  traffic.stopWaiting();
  EXPECT_EQ(toldAtTheEnd(), lostLine);
  EXPECT_EQ(written, Pieces);
  // What would fit now would leave a gap in front of itself.
  std::array<char, 65536> part{};
  while (::read(reader, part.data(), part.size()) > 0) {
  }
  traffic.write(Piece);
  EXPECT_LT(::read(reader, part.data(), part.size()), 0);
}

TEST_F(StoppedReader, HoldsUpNoOtherFile) {
  const TemporaryFile other;
  ASSERT_TRUE(traffic.open(other.name()));
  EXPECT_EQ(toldAtTheEnd(), lostLine);
  EXPECT_EQ(written, Pieces);
  EXPECT_GT(std::filesystem::file_size(other.name()), 0U);
}

}  // namespace
}  // namespace flowscope
