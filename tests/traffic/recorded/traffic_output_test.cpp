#include "traffic/traffic_output.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
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

}  // namespace
}  // namespace flowscope
