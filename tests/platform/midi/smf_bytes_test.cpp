#include "platform/midi/smf_bytes.h"

#include <gtest/gtest.h>

#include "tests/platform/midi/smf_maker.h"

namespace midi {
namespace {

TEST(SmfBytes, ReadsVariableLengthNumbers) {
  const struct {
    std::uint32_t value;
    std::string_view bytes;
  } table[] = {
      {0, "00"},
      {0x40, "40"},
      {0x7F, "7F"},
      {0x80, "81 00"},
      {0x2000, "C0 00"},
      {0x3FFF, "FF 7F"},
      {0x4000, "81 80 00"},
      {0x1FFFFF, "FF FF 7F"},
      {0x200000, "81 80 80 00"},
      {0x0FFFFFFF, "FF FF FF 7F"},
      {0, "80 80 80 00"},
  };
  for (const auto& row : table) {
    const ByteVector input = fromHex(row.bytes);
    SmfReader reader(input, "the text");
    EXPECT_EQ(reader.variable(), row.value);
    EXPECT_TRUE(reader.atEnd());
  }
}

template <typename Read>
std::string problemOf(Read read) {
  try {
    read();
  } catch (const SmfProblem& problem) {
    return std::to_string(problem.offset) + ": " + problem.what();
  }
  return "none";
}

TEST(SmfBytes, ThrowsOnTruncatedDataAndTakesNothing) {
  const std::pair<const char*, const char*> table[] = {
      {"", "100: the text ends too early"},
      {"80", "101: the text ends too early"},
      {"FF FF FF", "103: the text ends too early"},
      {"FF FF FF FF 7F", "100: variable-length number longer than four bytes"},
  };
  for (const auto& [bytes, problem] : table) {
    const ByteVector input = fromHex(bytes);
    SmfReader reader(input, "the text", 100);
    EXPECT_EQ(problemOf([&] { reader.variable(); }), problem);
    EXPECT_EQ(reader.offset(), 100U);
  }
  const ByteVector input = fromHex("01 02 03");
  SmfReader reader(input, "the text");
  EXPECT_EQ(problemOf([&] { reader.number(4); }), "0: the text ends too early");
  EXPECT_EQ(problemOf([&] { reader.take(4, "the part"); }), "0: the text ends too early");
  EXPECT_EQ(reader.number(3), 0x010203U);
  EXPECT_EQ(problemOf([&] { reader.byte(); }), "3: the text ends too early");
}

TEST(SmfBytes, PartsKnowTheirOffsetAndEnd) {
  const ByteVector input = fromHex("01 02 03 04");
  SmfReader reader(input, "the text", 10);
  reader.byte();
  SmfReader part = reader.take(2, "the part");
  EXPECT_EQ(part.offset(), 11U);
  EXPECT_EQ(part.number(2), 0x0203U);
  EXPECT_EQ(problemOf([&] { part.byte(); }), "13: the part ends too early");
  EXPECT_EQ(reader.byte(), 4);
  EXPECT_TRUE(reader.atEnd());
}

}  // namespace
}  // namespace midi
