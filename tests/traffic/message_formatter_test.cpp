#include "traffic/message_formatter.h"

#include <gtest/gtest.h>

#include <csignal>
#include <vector>

namespace flowscope {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Kind = ChannelKind;

TEST(MessageFormatter, FormatsChannelMessages) {
  const struct {
    ChannelMessage message;
    const char* labelled;
    const char* raw;
  } cases[] = {
      {{Kind::NoteOff, 0x3C, 0x40, 1},
       "SeqOut1) note off :note= 0x3C :velocity= 0x40 :grpId= 0x01\n",
       "0x80 0x3C 0x40 0x01\n"},
      {{Kind::NoteOn, 0x3C, 0x40, 1},
       "SeqOut1) note on  :note= 0x3C :velocity= 0x40 :grpId= 0x01\n",
       "0x90 0x3C 0x40 0x01\n"},
      {{Kind::PolyAfter, 0x05, 0x7F, 0x10},
       "SeqOut1) poly after :note= 0x05 :value= 0x7F :grpId= 0x10\n",
       "0xA0 0x05 0x7F 0x10\n"},
      {{Kind::ControlChange, 0x07, 0x64, 0},
       "SeqOut1) control change :number= 0x07 :value= 0x64 :grpId= 0x00\n",
       "0xB0 0x07 0x64 0x00\n"},
      {{Kind::ProgramChange, 0x0B, 0xAA, 2},
       "SeqOut1) program change :number= 0x0B :grpId= 0x02\n",
       "0xC0 0x0B 0x02\n"},
      {{Kind::AfterTouch, 0x22, 0xAA, 2}, "SeqOut1) after touch :value= 0x22 :grpId= 0x02\n", "0xD0 0x22 0x02\n"},
      {{Kind::PitchBend, 0x01, 0x40, 0xFF},
       "SeqOut1) pitch bend :lsb= 0x01 msb= 0x40 :grpId= 0xFF\n",
       "0xE0 0x01 0x40 0xFF\n"},
      // Values of every size, and groups above 0xFF, which take more digits.
      {{Kind::NoteOn, 0xFF, 0xFF, 0x0102},
       "SeqOut1) note on  :note= 0xFF :velocity= 0xFF :grpId= 0x102\n",
       "0x90 0xFF 0xFF 0x102\n"},
      {{Kind::NoteOn, 0, 0, 0xABCD},
       "SeqOut1) note on  :note= 0x00 :velocity= 0x00 :grpId= 0xABCD\n",
       "0x90 0x00 0x00 0xABCD\n"},
  };
  TextPiece line;
  for (const auto& each : cases) {
    EXPECT_EQ(formatChannelMessage(line, each.message, "SeqOut1", TextForm::Labelled), each.labelled);
    EXPECT_EQ(formatChannelMessage(line, each.message, "SeqOut1", TextForm::Raw), each.raw);
  }
}

TEST(MessageFormatter, FormatsRealTimeMessages) {
  TextPiece line;
  EXPECT_EQ(formatRealTime(line, 0xF8, 0x0C, "ClockOut1", TextForm::Labelled),
            "ClockOut1) real time message :data= 0xF8 :grpId= 0x0C\n");
  EXPECT_EQ(formatRealTime(line, 0xFF, 0x0C, "ClockOut1", TextForm::Raw), "0xFF 0x0c\n");
  EXPECT_EQ(formatRealTime(line, 0xFA, 0xABC, "ClockOut1", TextForm::Raw), "0xFA 0xabc\n");
}

TEST(MessageFormatter, FormatsErrorData) {
  TextPiece line;
  EXPECT_EQ(formatErrorData(line, Bytes{0x91, 0x3C, 0x40}, "p"), "p) errdata =  0x91 0x3C 0x40\n");
  EXPECT_EQ(formatErrorData(line, Bytes{}, "p"), "p) errdata = \n");
}

TEST(MessageFormatter, LongErrorDataAreCutAndKeepTheNewline) {
  TextPiece line;
  for (const std::size_t count : {201U, 202U, 203U, 204U, 1023U, 1024U, 1025U, 100'000U}) {
    std::string whole = "p) errdata = ";
    for (std::size_t i = 0; i < count; ++i) whole += " 0x5A";
    const std::string expected = whole.substr(0, 1022) + "\n";
    EXPECT_EQ(formatErrorData(line, Bytes(count, 0x5A), "p"), expected) << count;
  }
}

TEST(MessageFormatter, FormatsLongMessagesInPieces) {
  TextPiece line;
  EXPECT_EQ(formatHeader(line, LongKind::SystemExclusive, "p", 3), "p) system exclusive :length= 3 :");
  EXPECT_EQ(formatHeader(line, LongKind::SystemCommon, "p", 2), "p) system coomon :length= 2 : ");
  EXPECT_EQ(formatHeader(line, LongKind::Meta, "p", 70'000), "p) system exclusive :length= 70000 : ");
  EXPECT_EQ(formatByte(line, 0xF0), "0xF0 ");
  EXPECT_EQ(formatByte(line, 0x00), "0x00 ");
  EXPECT_EQ(formatTrailer(line, LongKind::SystemExclusive, 1), ": groupId=0x01\n");
  EXPECT_EQ(formatTrailer(line, LongKind::SystemCommon, 0x1A), ": grpId=0x1A\n");
  EXPECT_EQ(formatTrailer(line, LongKind::Meta, 0x102), ": grpId=0x102\n");
}

TEST(MessageFormatter, CutsLinesWithLongNames) {
  TextPiece line;
  const std::string longest(63, 'n');
  EXPECT_EQ(formatRealTime(line, 0xFE, 0, longest, TextForm::Labelled),
            longest + ") real time message :data= 0xFE :grpId= 0x00\n");
  EXPECT_EQ(formatRealTime(line, 0xFE, 0, "", TextForm::Labelled), ") real time message :data= 0xFE :grpId= 0x00\n");
  const std::string_view cut =
      formatChannelMessage(line, {Kind::NoteOn, 1, 2, 3}, std::string(2000, 'n'), TextForm::Labelled);
  EXPECT_EQ(cut, std::string(1022, 'n') + "\n");
  EXPECT_EQ(formatHeader(line, LongKind::Meta, std::string(2000, 'n'), 1), std::string(1023, 'n'));
}

TEST(MessageFormatter, RawFormWithoutBytesIsTheGroup) { EXPECT_EQ(formatRawLong({}, 0x10F), "0x10F\n"); }

TEST(MessageFormatterDeathTest, RawFormWithBytesEndsTheProcess) {
  EXPECT_EXIT(formatRawLong(Bytes{0xF0}, 1), testing::KilledBySignal(SIGABRT),
              "\\*\\*\\* buffer overflow detected \\*\\*\\*: terminated");
  EXPECT_EXIT(formatRawLong(Bytes(100'000, 0x55), 1), testing::KilledBySignal(SIGABRT), "buffer overflow detected");
}

}  // namespace
}  // namespace flowscope
