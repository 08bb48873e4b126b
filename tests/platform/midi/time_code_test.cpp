#include "platform/midi/time_code.h"

#include <gtest/gtest.h>

#include <vector>

namespace midi {
namespace {

constexpr TimeCode Late{23, 59, 58, 24, FrameRate::Video25};

// The eight quarter frames of a time, in the order of their numbers.
std::vector<std::uint8_t> piecesOf(const TimeCode& time) {
  const unsigned last = static_cast<unsigned>(time.rate) << 5U | time.hours;
  std::vector<std::uint8_t> pieces;
  for (const unsigned byte : {unsigned{time.frames}, unsigned{time.seconds}, unsigned{time.minutes}, last}) {
    for (const unsigned nibble : {byte & 0xFU, byte >> 4U}) {
      pieces.push_back(static_cast<std::uint8_t>(pieces.size() << 4U | nibble));
    }
  }
  return pieces;
}

TEST(TimeCode, FullFrameIsATime) {
  using Bytes = std::vector<std::uint8_t>;
  EXPECT_EQ(readTimeCode(Bytes{0x21, 2, 3, 4}), (TimeCode{1, 2, 3, 4, FrameRate::Video25}));
  EXPECT_EQ(readTimeCode(Bytes{0x77, 59, 59, 29, 99}), (TimeCode{23, 59, 59, 29, FrameRate::Full30}));
  EXPECT_EQ(readTimeCode(Bytes{0x40, 0, 0, 0}), (TimeCode{0, 0, 0, 0, FrameRate::Drop30}));
  for (const Bytes& wrong : {Bytes{}, Bytes{1, 2, 3}, Bytes{24, 0, 0, 0}, Bytes{0, 60, 0, 0}, Bytes{0, 0, 60, 0},
                             Bytes{0, 0, 0, 24}, Bytes{0x20, 0, 0, 25}, Bytes{0x40, 0, 0, 30}, Bytes{0, 255, 0, 0}}) {
    EXPECT_EQ(readTimeCode(wrong), std::nullopt) << testing::PrintToString(wrong);
  }
}

TEST(TimeCode, IsText) {
  EXPECT_EQ(timeText({1, 2, 3, 4, FrameRate::Film24}), "01:02:03:04");
  EXPECT_EQ(timeText({23, 59, 58, 29, FrameRate::Drop30}), "23:59:58;29");
  EXPECT_EQ(rateText(FrameRate::Film24), "24");
  EXPECT_EQ(rateText(FrameRate::Video25), "25");
  EXPECT_EQ(rateText(FrameRate::Drop30), "29.97");
  EXPECT_EQ(rateText(FrameRate::Full30), "30");
  EXPECT_EQ(framesPerSecond(FrameRate::Drop30), 29.97);
  EXPECT_EQ(framesPerSecond(FrameRate::Video25), 25);
}

TEST(QuarterFrames, EightOfThemAreATime) {
  QuarterFrames frames;
  const auto pieces = piecesOf(Late);
  for (int round = 0; round < 3; ++round) {
    for (std::size_t i = 0; i < 8; ++i) {
      EXPECT_EQ(frames.add(pieces[i]), i == 7 ? std::optional(Late) : std::nullopt) << round << ' ' << i;
    }
  }
}

TEST(QuarterFrames, RunBackward) {
  QuarterFrames frames;
  const auto pieces = piecesOf(Late);
  for (int round = 0; round < 3; ++round) {
    for (std::size_t i = 8; i-- > 0;) {
      EXPECT_EQ(frames.add(pieces[i]), i == 0 ? std::optional(Late) : std::nullopt) << round << ' ' << i;
    }
  }
}

TEST(QuarterFrames, NeedAllEightInARow) {
  const auto pieces = piecesOf(Late);
  // Who joins late hears the end of a time first.
  for (std::size_t start = 1; start < 8; ++start) {
    QuarterFrames frames;
    for (std::size_t i = start; i < 8; ++i) EXPECT_EQ(frames.add(pieces[i]), std::nullopt) << start << ' ' << i;
    for (std::size_t i = 0; i < 7; ++i) EXPECT_EQ(frames.add(pieces[i]), std::nullopt) << start << ' ' << i;
    EXPECT_EQ(frames.add(pieces[7]), Late) << start;
  }
  // One that is missing, or comes twice.
  for (std::size_t wrong = 0; wrong < 8; ++wrong) {
    QuarterFrames without;
    QuarterFrames twice;
    for (std::size_t i = 0; i < 8; ++i) {
      if (i != wrong) {
        EXPECT_EQ(without.add(pieces[i]), std::nullopt) << wrong << ' ' << i;
      }
      const bool heard = twice.add(pieces[i]).has_value();
      // The first piece may come twice: the second one begins the time.
      EXPECT_EQ(heard, i == 7 && (wrong == 0 || wrong == 7)) << wrong << ' ' << i;
      if (i == wrong) {
        EXPECT_EQ(twice.add(pieces[i]), std::nullopt) << wrong;
      }
    }
  }
}

TEST(QuarterFrames, PiecesOfTwoDirectionsMakeNoTime) {
  QuarterFrames frames;
  const auto pieces = piecesOf(Late);
  for (const std::size_t i : {0U, 1U, 2U, 3U, 4U, 5U, 6U}) EXPECT_EQ(frames.add(pieces[i]), std::nullopt);
  for (const std::size_t i : {5U, 4U, 3U, 2U, 1U, 0U}) EXPECT_EQ(frames.add(pieces[i]), std::nullopt);
  for (const std::size_t i : {1U, 2U, 3U, 4U, 5U, 6U}) EXPECT_EQ(frames.add(pieces[i]), std::nullopt);
  EXPECT_EQ(frames.add(pieces[7]), Late);
}

TEST(QuarterFrames, ATimeOutOfRangeIsNone) {
  QuarterFrames frames;
  for (const std::uint8_t piece : piecesOf({23, 59, 58, 25, FrameRate::Video25})) {
    EXPECT_EQ(frames.add(piece), std::nullopt);
  }
}

}  // namespace
}  // namespace midi
