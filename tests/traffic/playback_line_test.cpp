#include "traffic/playback_line.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace flowscope {
namespace {

using Texts = std::vector<std::string>;

// Each message as "BYTE... to GROUP", in decimal.
Texts read(const std::string& text) {
  Texts messages;
  PlaybackLine line(text);
  while (const auto message = line.next()) {
    std::string shown;
    for (const std::uint8_t byte : message->bytes) shown += std::to_string(byte) + " ";
    messages.push_back(shown + "to " + std::to_string(message->group));
  }
  EXPECT_FALSE(line.next()) << text;
  return messages;
}

TEST(PlaybackLine, ReadsTheMessagesOfALine) {
  const struct {
    const char* text;
    Texts messages;
  } rows[] = {
      {"", {}},
      {" \t\r\n", {}},
      {"0x80 0x3C 0x40 0x01\n", {"128 60 64 to 1"}},
      {"0x90 0x3C 0x40 0x01\n", {"144 60 64 to 1"}},
      {"0xA0 0x3C 0x40 0x01\n", {"160 60 64 to 1"}},
      {"0xB0 0x07 0x7F 0x01\n", {"176 7 127 to 1"}},
      {"0xC0 0x05 0x01 0x02 0x03\n", {"192 5 1 2 to 3"}},
      {"0xD0 0x30 0x01\n", {"208 48 to 1"}},
      {"0xE0 0x00 0x40 0x01\n", {"224 0 64 to 1"}},
      // A channel is dropped, decimal and mixed forms count the same.
      {"0x91 0x3C 0x40 0x01", {"144 60 64 to 1"}},
      {"144 60 64 1", {"144 60 64 to 1"}},
      {"0x9F 60 0x40 1", {"144 60 64 to 1"}},
      // Any white space stands between words.
      {"\v144\t60\f64\r1\n", {"144 60 64 to 1"}},
      // Several messages on a line.
      {"144 60 64 1 128 60 0 1 0xD0 1 2", {"144 60 64 to 1", "128 60 0 to 1", "208 1 to 2"}},
      // The line ends early.
      {"144", {}},
      {"144 60", {}},
      {"144 60 64", {}},
      {"208 1 2 144 60 64", {"208 1 to 2"}},
      {"0xD0 0x30", {}},
      // What the raw form prints of a program change has fewer values than playing takes.
      {"0xC0 0x05 0x00", {}},
      {"0xC0 0x05 0x00 0x90 0x3C 0x40 0x01", {"192 5 0 144 to 60"}},
      // Group ids have 16 bits, values 8.
      {"0x90 0x13C 0x240 0x102", {"144 60 64 to 258"}},
      {"0x90 0 0 0x10002", {"144 0 0 to 2"}},
      // System exclusive.
      {"0xF0 0x7E 0x7F 0xF7 0x02", {"240 126 127 247 to 2"}},
      {"0xF0 0xF7 0x02", {"240 247 to 2"}},
      {"0xF0 1 0x1F7 2", {"240 1 247 to 2"}},
      {"0xF0 1 0xF7", {"240 1 247 to 0"}},
      {"0xF0 1 0xF7\n", {"240 1 247 to 0"}},
      {"0xF0 1 2 3", {}},
      {"0xF0", {}},
      {"0xF0 1 0xF7 2 144 60 64 1", {"240 1 247 to 2", "144 60 64 to 1"}},
      {"0xF5 1 0xF7 2", {"240 1 247 to 2"}},
      {"0xFF 1 0xF7 2", {"240 1 247 to 2"}},
      // Real time in the raw form begins a system exclusive that nothing ends.
      {"0xF8 0x0a\n", {}},
      // Below 0x80 there is no status.
      {"0 127 0x7F 144 60 64 1", {"144 60 64 to 1"}},
      {"note on: 144 60 64 1", {"144 60 64 to 1"}},
      {"0x100 144 60 64 1", {"144 60 64 to 1"}},
      {"0x190 60 64 1", {"144 60 64 to 1"}},
  };
  for (const auto& row : rows) EXPECT_EQ(read(row.text), row.messages) << row.text;
}

TEST(PlaybackLine, ASystemExclusiveIsAsLongAsItsLine) {
  std::string text = "0xF0";
  std::string bytes = "240 ";
  for (int i = 0; i < 5000; ++i) {
    text += " 1";
    bytes += "1 ";
  }
  EXPECT_EQ(read(text + " 0xF7 3"), Texts{bytes + "247 to 3"});
}

TEST(PlaybackNumber, ReadsEveryFormOfANumber) {
  const struct {
    const char* word;
    std::uint32_t number;
  } rows[] = {
      {"60", 60},
      {"0x3C", 60},
      {"0x3c", 60},
      {"0X3C", 60},
      {"060", 60},  // no octal
      {"+60", 60},
      {"60.9", 60},
      {"0.6e2", 60},
      {"0x1.Ep5", 60},
      {"-1", 0xFFFFFFFF},
      {"-1.9", 0xFFFFFFFF},
      {"-0.9", 0},
      {"4294967295", 0xFFFFFFFF},
      {"4294967296", 0},
      {"4294967297.5", 1},
      {"-4294967297", 0xFFFFFFFF},
      {"1e300", 0},  // a multiple of 2 to the 32
      {"1e400", 0},
      {"-1e400", 0},
      {"inf", 0},
      {"-Infinity", 0},
      {"nan", 0},
      {"nan(7)", 0},
      {"60,", 60},
      {"0x", 0},
      {"x3C", 0},
      {"", 0},
  };
  for (const auto& row : rows) EXPECT_EQ(playbackNumber(row.word), row.number) << row.word;
}

}  // namespace
}  // namespace flowscope
