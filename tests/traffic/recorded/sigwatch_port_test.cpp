#include "traffic/sigwatch_port.h"

#include <gtest/gtest.h>

#include "tests/traffic/event_bytes.h"
#include "tests/traffic/recorded/recorded_fixture.h"

namespace flowscope {
namespace {

class SigwatchPortTest : public RecordedTest {
 protected:
  SigwatchPortTest() : RecordedTest({}, false) {}

  std::string dump(const EventBytes& event, unsigned type = EvtSrv::EvtTyp_Debug_Receive) {
    EvtSrv::MemoryHolder holder = event.holder();
    EXPECT_EQ(port.receiveMain("p", type, &holder, nullptr), EvtSrv::EvtRes_Success);
    return shell.printed();
  }

  SigwatchPort port{manager, shell};
};

TEST_F(SigwatchPortTest, PrintsSizeAndWords) {
  EXPECT_EQ(dump(EventBytes().word(4).word(0x11).word(0x22)), "size = [4][0x00000011][0x00000022]");
  EXPECT_EQ(port.lastWord(), 0x22U);
}

TEST_F(SigwatchPortTest, ReadsBothByteOrders) {
  EXPECT_EQ(dump(EventBytes(true).word(0).word(0x01020304)), "size = [0][0x01020304]");
  EXPECT_EQ(dump(EventBytes(true).word(0).raw({1, 2, 3, 4})), "size = [0][0x01020304]");
  EXPECT_EQ(dump(EventBytes(false).word(0).raw({1, 2, 3, 4})), "size = [0][0x04030201]");
}

TEST_F(SigwatchPortTest, RepeatsTheWordsSoFar) {
  const std::string four = "[0x00000001][0x00000002][0x00000003][0x00000004]";
  const std::string seven = four + "[0x00000005][0x00000006][0x00000007]";
  EventBytes event;
  event.word(28);
  for (std::uint32_t word = 1; word <= 8; ++word) event.word(word);
  EXPECT_EQ(dump(event), "size = [28]" + four + seven + seven + "[0x00000008]");
}

TEST_F(SigwatchPortTest, GoesOnWithTheNextRecord) {
  // 3 bytes are one word here, of 4 bytes; the next record follows that.
  EXPECT_EQ(dump(EventBytes().word(3).word(0xA).word(3).word(0xB)), "size = [3][0x0000000a]size = [3][0x0000000b]");
}

TEST_F(SigwatchPortTest, StopsWhenLessThanFiveBytesRemainOfTheSizes) {
  EXPECT_EQ(dump(EventBytes().word(7).word(1).word(2).raw({9})), "size = [7][0x00000001][0x00000002]");
}

TEST_F(SigwatchPortTest, EndsAtTheFirstWordThatIsNotThere) {
  EXPECT_EQ(dump(EventBytes()), "");
  EXPECT_EQ(dump(EventBytes().raw({1, 2, 3})), "");
  EXPECT_EQ(dump(EventBytes().word(5)), "size = [5]");
  EXPECT_EQ(dump(EventBytes().word(5).word(7).raw({1})), "size = [5][0x00000007]");
  EXPECT_EQ(dump(EventBytes().word(0xFFFFFFFF).word(7)), "size = [-1][0x00000007]");
  EXPECT_EQ(dump(EventBytes().record(1, {0x90, 2, 3})), "size = [5][0x02900001]");
}

TEST_F(SigwatchPortTest, PrintsNoOtherEvents) {
  EXPECT_EQ(dump(EventBytes().word(4).word(1).word(2), EvtSrv::EvtTyp_Debug_Receive + 1), "");
}

TEST_F(SigwatchPortTest, PrintsNothingForPartOfAHeader) {
  for (const std::size_t size : {0U, 1U, 19U}) {
    const Bytes part(size, 0);
    EvtSrv::MemoryHolder holder(part);
    EXPECT_EQ(port.receiveMain("p", EvtSrv::EvtTyp_Debug_Receive, &holder, nullptr), EvtSrv::EvtRes_Success);
    EXPECT_EQ(shell.printed(), "") << size;
  }
}

}  // namespace
}  // namespace flowscope
