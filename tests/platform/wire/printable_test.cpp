#include "platform/wire/printable.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

namespace wire {
namespace {

using enum TextEncoding;

struct Row {
  const char* what;
  std::string text;
  std::string utf8;
  std::string ascii;
};

TEST(Printable, ShowsWhatIsSafe) {
  const Row rows[] = {
      {"nothing", "", "", ""},
      {"ASCII", "a ~!", "a ~!", "a ~!"},
      {"controls", std::string("a\0\t\n\x1b[31m\x1f\x7f", 11), "a????[31m??", "a????[31m??"},
      {"two bytes, least and most", "\xC2\xA0|\xDF\xBF", "\xC2\xA0|\xDF\xBF", "??|??"},
      {"three bytes, least and most", "\xE0\xA0\x80|\xEF\xBF\xBD", "\xE0\xA0\x80|\xEF\xBF\xBD", "???|???"},
      {"four bytes, least and most", "\xF0\x90\x80\x80|\xF4\x8F\xBF\xBD", "\xF0\x90\x80\x80|\xF4\x8F\xBF\xBD",
       "????|????"},
      {"beside surrogates", "\xED\x9F\xBF|\xEE\x80\x80", "\xED\x9F\xBF|\xEE\x80\x80", "???|???"},
      {"a character and its accent", "e\xCC\x81", "e\xCC\x81", "e??"},
      {"C1 controls", "\xC2\x80\xC2\x9B[m\xC2\x9F", "??[m?", "????[m??"},
      {"soft hyphen",
       "a\xC2\xAD"
       "b",
       "a?b", "a??b"},
      {"zero width", "\xE2\x80\x8B\xE2\x80\x8C\xE2\x80\x8D\xE2\x81\xA0\xEF\xBB\xBF", "?????", "???????????????"},
      {"bidirectional marks", "\xE2\x80\x8E\xE2\x80\x8F\xD8\x9C", "???", "????????"},
      {"bidirectional embeddings", "\xE2\x80\xAA\xE2\x80\xAB\xE2\x80\xAC\xE2\x80\xAD\xE2\x80\xAE", "?????",
       "???????????????"},
      {"bidirectional isolates", "\xE2\x81\xA6\xE2\x81\xA7\xE2\x81\xA8\xE2\x81\xA9", "????", "????????????"},
      {"ends of lines and paragraphs", "\xE2\x80\xA8\xE2\x80\xA9", "??", "??????"},
      {"before and behind the hidden", "\xE2\x80\x8A|\xE2\x80\x90|\xE2\x80\xAF|\xE2\x81\xB0",
       "\xE2\x80\x8A|\xE2\x80\x90|\xE2\x80\xAF|\xE2\x81\xB0", "???|???|???|???"},
      {"tags", "\xF3\xA0\x81\xA1", "?", "????"},
      {"no characters", "\xEF\xBF\xBE\xEF\xBF\xBF\xEF\xB7\x90\xF4\x8F\xBF\xBF", "????", "?????????????"},
      {"lone continuations",
       "\x80"
       "a\xBF",
       "?a?", "?a?"},
      {"overlong two", "\xC0\x80\xC1\xBF", "????", "????"},
      {"overlong three", "\xE0\x80\x80\xE0\x9F\xBF", "??????", "??????"},
      {"overlong four", "\xF0\x80\x80\x80\xF0\x8F\xBF\xBF", "????????", "????????"},
      {"surrogates", "\xED\xA0\x80\xED\xBF\xBF", "??????", "??????"},
      {"above the last", "\xF4\x90\x80\x80", "????", "????"},
      {"no lead bytes", "\xF5\x80\x80\x80\xF8\x88\x80\x80\x80\xFE\xFF", "???????????", "???????????"},
      {"truncated", "\xC3", "?", "?"},
      {"truncated three", "a\xE2\x82", "a??", "a??"},
      {"truncated four", "\xF0\x9F\x98", "???", "???"},
      {"cut by another",
       "\xE2\x82"
       "a\xC3\xC3\xA4",
       "??a?\xC3\xA4", "??a???"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(printable(row.text, Utf8), row.utf8) << row.what;
    EXPECT_EQ(printable(row.text, Ascii), row.ascii) << row.what;
  }
}

TEST(Printable, EveryByteAloneIsAnswered) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string text(1, static_cast<char>(byte));
    const std::string shown = byte >= ' ' && byte <= '~' ? text : "?";
    EXPECT_EQ(printable(text, Utf8), shown) << byte;
    EXPECT_EQ(printable(text, Ascii), shown) << byte;
  }
}

TEST(Printable, CharactersAreColumns) {
  EXPECT_EQ(columns(""), 0U);
  EXPECT_EQ(columns("ab?"), 3U);
  EXPECT_EQ(columns("\xC3\xB6\xE2\x82\xAC\xF0\x9F\x98\x80."), 4U);
}

// A program's patterns mean what they mean in its own locale.
TEST(TextEncoding, AskingLeavesTheLocaleAlone) {
  environmentEncoding();
  EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
}

}  // namespace
}  // namespace wire
