#include "traffic/traffic_output.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <thread>

#include "tests/traffic/test_shell.h"
#include "traffic/monitor_attachment.h"

namespace flowscope {
namespace {

class TemporaryFile {
 public:
  TemporaryFile() { ::close(::mkstemp(path_.data())); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() { ::unlink(path_.c_str()); }

  std::FILE* open() const { return std::fopen(path_.c_str(), "w"); }

  std::string content() const {
    std::ifstream file(path_, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  std::string path_ = testing::TempDir() + "traffic_XXXXXX";
};

class PrintTraffic : public testing::Test {
 protected:
  // Answers what printTraffic left of the line.
  std::string print(std::string line) {
    EXPECT_EQ(printTraffic(shell, line), 1);
    return line;
  }

  EvtSrv::EventPortManager manager{EvtSrv::ConBehave_Default, true};
  TestShell shell{manager, false};
};

TEST_F(PrintTraffic, OffDoesNothing) {
  const TemporaryFile file;
  trafficOutput().trafficFile.open(file.open());
  EXPECT_EQ(print("text\n"), "text\n");
  EXPECT_EQ(shell.printed(), "");
  trafficOutput().trafficFile.close();
  EXPECT_EQ(file.content(), "");
}

TEST_F(PrintTraffic, ScreenLeavesAnOpenFileAlone) {
  const TemporaryFile file;
  trafficOutput().trafficFile.open(file.open());
  trafficOutput().trafficMode = TrafficScreen;
  EXPECT_EQ(print("text\n"), "");
  EXPECT_EQ(shell.printed(), "\x1b[39m\x1b[1Gtext\n");
  trafficOutput().trafficFile.close();
  EXPECT_EQ(file.content(), "");
}

TEST_F(PrintTraffic, ScreenAndFileGetTheSamePieces) {
  const TemporaryFile file;
  trafficOutput().trafficFile.open(file.open());
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
  trafficOutput().trafficFile.open(nullptr);
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
    trafficOutput().trafficFile.open(file.open());
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
  traffic.open(file.open());
  EXPECT_TRUE(traffic.isOpen());
  traffic.write("one ");
  traffic.write("two");
  traffic.close();
  EXPECT_FALSE(traffic.isOpen());
  traffic.write("three");
  traffic.close();
  EXPECT_EQ(file.content(), "one two");
}

TEST(TrafficFile, AStreamThatAnotherReplacesStaysOpen) {
  const TemporaryFile first;
  const TemporaryFile second;
  std::FILE* abandoned = first.open();
  TrafficFile traffic;
  traffic.open(abandoned);
  traffic.write("lost ");
  traffic.open(second.open());
  traffic.write("kept");
  traffic.close();
  EXPECT_EQ(first.content(), "");
  EXPECT_EQ(second.content(), "kept");
  EXPECT_GE(std::fputs("still open", abandoned), 0);
  EXPECT_EQ(std::fclose(abandoned), 0);
  EXPECT_EQ(first.content(), "lost still open");
}

}  // namespace
}  // namespace flowscope
