#include "traffic/traffic_output.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>

#include "tests/traffic/recorded/recorded_fixture.h"
#include "tests/traffic/temporary_file.h"
#include "traffic/monitor_attachment.h"

namespace flowscope {
namespace {

class PrintTraffic : public RecordedTest {
 protected:
  PrintTraffic() : RecordedTest({}, false) {}

  // Answers what printTraffic left of the line.
  std::string print(std::string line) {
    EXPECT_EQ(printTraffic(shell, line), 1);
    return line;
  }
};

TEST_F(PrintTraffic, DoesNothingWhileOff) {
  const TemporaryFile file;
  trafficOutput().trafficFile.open(file.name());
  EXPECT_EQ(print("text\n"), "text\n");
  EXPECT_EQ(shell.printed(), "");
  trafficOutput().trafficFile.close();
  EXPECT_EQ(file.content(), "");
}

TEST_F(PrintTraffic, ScreenLeavesAnOpenFileAlone) {
  const TemporaryFile file;
  trafficOutput().trafficFile.open(file.name());
  trafficOutput().trafficMode = TrafficScreen;
  EXPECT_EQ(print("text\n"), "");
  EXPECT_EQ(shell.printed(), "\x1b[39m\x1b[1Gtext\n");
  trafficOutput().trafficFile.close();
  EXPECT_EQ(file.content(), "");
}

TEST_F(PrintTraffic, ScreenAndFileGetTheSamePieces) {
  const TemporaryFile file;
  trafficOutput().trafficFile.open(file.name());
  trafficOutput().trafficMode = TrafficScreenAndFile;
  EXPECT_EQ(print("0xF0 "), "");
  EXPECT_EQ(print("%s 100% \n"), "");
  EXPECT_EQ(shell.printed(), "\x1b[39m\x1b[1G0xF0 \x1b[39m\x1b[1G%s 100% \n");
  trafficOutput().trafficFile.close();
  EXPECT_EQ(file.content(), "0xF0 %s 100% \n");
}

TEST_F(PrintTraffic, AFileThatIsNotThereIsNotUsed) {
  trafficOutput().trafficMode = TrafficScreenAndFile;
  EXPECT_EQ(print("text"), "");
  EXPECT_FALSE(trafficOutput().trafficFile.open("/nowhere/at/all"));
  EXPECT_EQ(print("more"), "");
  EXPECT_EQ(shell.printed(), "\x1b[39m\x1b[1Gtext\x1b[39m\x1b[1Gmore");
}

// One thread prints, the other opens files and ends, as the command line does while messages arrive. Each file must
// hold whole pieces only, and the screen all of them.
TEST_F(PrintTraffic, EndMayCloseTheFileWhileAMessageIsPrinted) {
  constexpr int Rounds = 50;
  const std::string piece = "SeqOut1) note on  :note= 0x3C :velocity= 0x40 :grpId= 0x01\n";
  std::atomic<bool> done = false;
  std::atomic<std::size_t> printedPieces = 0;
  std::thread printer([&] {
    std::string line;
    while (!done) {
      line = piece;
      printTraffic(shell, line);
      if (line.empty()) ++printedPieces;
      std::this_thread::yield();
    }
  });

  std::size_t written = 0;
  for (int round = 0; round < Rounds; ++round) {
    const TemporaryFile file;
    trafficOutput().trafficFile.open(file.name());
    trafficOutput().trafficMode = TrafficScreenAndFile;
    const std::size_t before = printedPieces;
    while (printedPieces < before + 2) std::this_thread::yield();
    EXPECT_EQ(endCommand(shell), ResultOk);
    // A write that was under way closes the file when it has ended.
    trafficOutput().trafficMode = TrafficScreen;
    const std::size_t afterEnd = printedPieces;
    while (printedPieces < afterEnd + 2) std::this_thread::yield();
    const std::string content = file.content();
    ASSERT_FALSE(content.empty());
    ASSERT_EQ(content.size() % piece.size(), 0U);
    ASSERT_TRUE(content.ends_with(piece));
    written += content.size() / piece.size();
  }
  done = true;
  printer.join();
  EXPECT_GE(printedPieces, written);
  EXPECT_EQ(shell.printed().size(), printedPieces * ("\x1b[39m\x1b[1G" + piece).size());
}

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
