#include "platform/system/printable.h"

#include <gtest/gtest.h>

#include <array>
#include <clocale>
#include <cstdio>
#include <string>

namespace sys {
namespace {

using enum TextEncoding;

struct Row {
  const char* what;
  std::string text;
  std::string utf8;
  std::string ascii;
};

TEST(Printable, KeepsSafeCharacters) {
  const Row rows[] = {
      {"nothing", "", "", ""},
      {"ASCII", "a ~!", "a ~!", "a ~!"},
      {"controls", std::string("a\0\t\n\x1b[31m\x1f\x7f", 11), "a\\x00\\x09\\x0A\\x1B[31m\\x1F\\x7F",
       "a\\x00\\x09\\x0A\\x1B[31m\\x1F\\x7F"},
      {"two bytes, least and most", "\xC2\xA0|\xDF\xBF", "\xC2\xA0|\xDF\xBF", "\\xC2\\xA0|\\xDF\\xBF"},
      {"three bytes, least and most", "\xE0\xA0\x80|\xEF\xBF\xBD", "\xE0\xA0\x80|\xEF\xBF\xBD",
       "\\xE0\\xA0\\x80|\\xEF\\xBF\\xBD"},
      {"four bytes, least and most", "\xF0\x90\x80\x80|\xF4\x8F\xBF\xBD", "\xF0\x90\x80\x80|\xF4\x8F\xBF\xBD",
       "\\xF0\\x90\\x80\\x80|\\xF4\\x8F\\xBF\\xBD"},
      {"beside surrogates", "\xED\x9F\xBF|\xEE\x80\x80", "\xED\x9F\xBF|\xEE\x80\x80",
       "\\xED\\x9F\\xBF|\\xEE\\x80\\x80"},
      {"a character and its accent", "e\xCC\x81", "e\xCC\x81", "e\\xCC\\x81"},
      {"C1 controls", "\xC2\x80\xC2\x9B[m\xC2\x9F", "\\xC2\\x80\\xC2\\x9B[m\\xC2\\x9F",
       "\\xC2\\x80\\xC2\\x9B[m\\xC2\\x9F"},
      {"soft hyphen",
       "a\xC2\xAD"
       "b",
       "a\\xC2\\xADb", "a\\xC2\\xADb"},
      {"zero width", "\xE2\x80\x8B\xE2\x80\x8C\xE2\x80\x8D\xE2\x81\xA0\xEF\xBB\xBF",
       "\\xE2\\x80\\x8B\\xE2\\x80\\x8C\\xE2\\x80\\x8D\\xE2\\x81\\xA0\\xEF\\xBB\\xBF",
       "\\xE2\\x80\\x8B\\xE2\\x80\\x8C\\xE2\\x80\\x8D\\xE2\\x81\\xA0\\xEF\\xBB\\xBF"},
      {"bidirectional marks", "\xE2\x80\x8E\xE2\x80\x8F\xD8\x9C", "\\xE2\\x80\\x8E\\xE2\\x80\\x8F\\xD8\\x9C",
       "\\xE2\\x80\\x8E\\xE2\\x80\\x8F\\xD8\\x9C"},
      {"bidirectional embeddings", "\xE2\x80\xAA\xE2\x80\xAB\xE2\x80\xAC\xE2\x80\xAD\xE2\x80\xAE",
       "\\xE2\\x80\\xAA\\xE2\\x80\\xAB\\xE2\\x80\\xAC\\xE2\\x80\\xAD\\xE2\\x80\\xAE",
       "\\xE2\\x80\\xAA\\xE2\\x80\\xAB\\xE2\\x80\\xAC\\xE2\\x80\\xAD\\xE2\\x80\\xAE"},
      {"bidirectional isolates", "\xE2\x81\xA6\xE2\x81\xA7\xE2\x81\xA8\xE2\x81\xA9",
       "\\xE2\\x81\\xA6\\xE2\\x81\\xA7\\xE2\\x81\\xA8\\xE2\\x81\\xA9",
       "\\xE2\\x81\\xA6\\xE2\\x81\\xA7\\xE2\\x81\\xA8\\xE2\\x81\\xA9"},
      {"ends of lines and paragraphs", "\xE2\x80\xA8\xE2\x80\xA9", "\\xE2\\x80\\xA8\\xE2\\x80\\xA9",
       "\\xE2\\x80\\xA8\\xE2\\x80\\xA9"},
      {"before and behind the hidden", "\xE2\x80\x8A|\xE2\x80\x90|\xE2\x80\xAF|\xE2\x81\xB0",
       "\xE2\x80\x8A|\xE2\x80\x90|\xE2\x80\xAF|\xE2\x81\xB0",
       "\\xE2\\x80\\x8A|\\xE2\\x80\\x90|\\xE2\\x80\\xAF|\\xE2\\x81\\xB0"},
      {"tags", "\xF3\xA0\x81\xA1", "\\xF3\\xA0\\x81\\xA1", "\\xF3\\xA0\\x81\\xA1"},
      {"no characters", "\xEF\xBF\xBE\xEF\xBF\xBF\xEF\xB7\x90\xF4\x8F\xBF\xBF",
       "\\xEF\\xBF\\xBE\\xEF\\xBF\\xBF\\xEF\\xB7\\x90\\xF4\\x8F\\xBF\\xBF",
       "\\xEF\\xBF\\xBE\\xEF\\xBF\\xBF\\xEF\\xB7\\x90\\xF4\\x8F\\xBF\\xBF"},
      {"lone continuations",
       "\x80"
       "a\xBF",
       "\\x80a\\xBF", "\\x80a\\xBF"},
      {"overlong two", "\xC0\x80\xC1\xBF", "\\xC0\\x80\\xC1\\xBF", "\\xC0\\x80\\xC1\\xBF"},
      {"overlong three", "\xE0\x80\x80\xE0\x9F\xBF", "\\xE0\\x80\\x80\\xE0\\x9F\\xBF",
       "\\xE0\\x80\\x80\\xE0\\x9F\\xBF"},
      {"overlong four", "\xF0\x80\x80\x80\xF0\x8F\xBF\xBF", "\\xF0\\x80\\x80\\x80\\xF0\\x8F\\xBF\\xBF",
       "\\xF0\\x80\\x80\\x80\\xF0\\x8F\\xBF\\xBF"},
      {"surrogates", "\xED\xA0\x80\xED\xBF\xBF", "\\xED\\xA0\\x80\\xED\\xBF\\xBF", "\\xED\\xA0\\x80\\xED\\xBF\\xBF"},
      {"above the last", "\xF4\x90\x80\x80", "\\xF4\\x90\\x80\\x80", "\\xF4\\x90\\x80\\x80"},
      {"no lead bytes", "\xF5\x80\x80\x80\xF8\x88\x80\x80\x80\xFE\xFF",
       "\\xF5\\x80\\x80\\x80\\xF8\\x88\\x80\\x80\\x80\\xFE\\xFF",
       "\\xF5\\x80\\x80\\x80\\xF8\\x88\\x80\\x80\\x80\\xFE\\xFF"},
      {"truncated", "\xC3", "\\xC3", "\\xC3"},
      {"truncated three", "a\xE2\x82", "a\\xE2\\x82", "a\\xE2\\x82"},
      {"truncated four", "\xF0\x9F\x98", "\\xF0\\x9F\\x98", "\\xF0\\x9F\\x98"},
      {"cut by another",
       "\xE2\x82"
       "a\xC3\xC3\xA4",
       "\\xE2\\x82a\\xC3\xC3\xA4", "\\xE2\\x82a\\xC3\\xC3\\xA4"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(printable(row.text, Utf8), row.utf8) << row.what;
    EXPECT_EQ(printable(row.text, Ascii), row.ascii) << row.what;
  }
}

std::string utf8(char32_t character) {
  const auto part = [&](unsigned shift) { return static_cast<char>(0x80U | (character >> shift & 0x3FU)); };
  if (character < 0x80) return {static_cast<char>(character)};
  if (character < 0x800) return {static_cast<char>(0xC0U | character >> 6U), part(0)};
  if (character < 0x10000) return {static_cast<char>(0xE0U | character >> 12U), part(6), part(0)};
  return {static_cast<char>(0xF0U | character >> 18U), part(12), part(6), part(0)};
}

bool isShown(char32_t character) {
  const std::string text = utf8(character);
  return printable(text, Utf8) == text;
}

// Each range from its first character to its last, and the characters beside it.
TEST(Printable, HidesTheWholeOfEachRangeAndNothingBesideIt) {
  struct Range {
    const char* what;
    char32_t first;
    char32_t last;
  };
  const Range ranges[] = {
      {"C0 controls", 0x00, 0x1F},
      {"delete and C1 controls", 0x7F, 0x9F},
      {"soft hyphen", 0xAD, 0xAD},
      {"grapheme joiner", 0x34F, 0x34F},
      {"Arabic letter mark", 0x61C, 0x61C},
      {"Hangul fillers", 0x115F, 0x1160},
      {"Khmer inherent vowels", 0x17B4, 0x17B5},
      {"Mongolian selectors and separator", 0x180B, 0x180F},
      {"zero width, and marks of direction", 0x200B, 0x200F},
      {"ends of lines and paragraphs, embeddings, overrides", 0x2028, 0x202E},
      {"joiners, invisible operators, isolates", 0x2060, 0x206F},
      {"Hangul filler", 0x3164, 0x3164},
      {"no characters", 0xFDD0, 0xFDEF},
      {"selectors of variants", 0xFE00, 0xFE0F},
      {"byte order mark", 0xFEFF, 0xFEFF},
      {"Hangul filler of half width", 0xFFA0, 0xFFA0},
      {"annotations", 0xFFF0, 0xFFFB},
      {"shorthand", 0x1BCA0, 0x1BCA3},
      {"music", 0x1D173, 0x1D17A},
      {"tags and more selectors", 0xE0000, 0xE0FFF},
  };
  for (const Range& range : ranges) {
    for (char32_t character = range.first; character <= range.last; ++character) {
      EXPECT_FALSE(isShown(character)) << range.what << ' ' << static_cast<unsigned>(character);
    }
    // Nothing is before the first character, and the two last ones of a plane are none.
    const bool hasNeighbour = (range.first & 0xFFFFU) != 0;
    EXPECT_TRUE(!hasNeighbour || isShown(range.first - 1)) << range.what;
    EXPECT_TRUE(isShown(range.last + 1)) << range.what;
  }
  for (char32_t plane = 0; plane <= 0x10; ++plane) {
    EXPECT_FALSE(isShown(plane << 16U | 0xFFFEU)) << static_cast<unsigned>(plane);
    EXPECT_FALSE(isShown(plane << 16U | 0xFFFFU)) << static_cast<unsigned>(plane);
  }
}

TEST(Printable, EveryByteAloneIsAnswered) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string text(1, static_cast<char>(byte));
    std::array<char, 8> escaped{};
    std::snprintf(escaped.data(), escaped.size(), "\\x%02X", static_cast<unsigned>(byte));
    const std::string shown = byte >= ' ' && byte <= '~' ? text : escaped.data();
    EXPECT_EQ(printable(text, Utf8), shown) << byte;
    EXPECT_EQ(printable(text, Ascii), shown) << byte;
  }
}

TEST(Printable, CountsCharactersAsColumns) {
  EXPECT_EQ(columns(""), 0U);
  EXPECT_EQ(columns("ab?"), 3U);
  EXPECT_EQ(columns("\xC3\xB6\xE2\x82\xAC\xF0\x9F\x98\x80."), 4U);
}

// A program's patterns mean what they mean in its own locale.
TEST(TextEncoding, QueryLeavesTheLocaleAlone) {
  environmentEncoding();
  EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
}

}  // namespace
}  // namespace sys
