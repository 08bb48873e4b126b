#include "terminal/key_decoder.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "terminal/key_codes.h"
#include "tests/support/keys.h"

namespace flowscope {
namespace {

std::vector<int> feedAll(KeyDecoder& decoder, std::string_view bytes) {
  std::vector<int> codes;
  for (const char byte : bytes) {
    if (const auto code = decoder.feed(static_cast<unsigned char>(byte))) codes.push_back(*code);
  }
  return codes;
}

std::vector<int> decode(std::string_view keys) {
  const auto bytes = testsupport::keyBytes(keys);
  EXPECT_TRUE(bytes) << keys;
  KeyDecoder decoder;
  return feedAll(decoder, bytes.value_or(""));
}

struct Row {
  std::string_view keys;
  std::vector<int> codes;
};

TEST(KeyDecoder, DecodesTheSequenceOfEachKey) {
  const std::vector<Row> rows{
      {"aZ0~ ", {'a', 'Z', '0', '~', ' '}},
      {"<x00><x01><x7f><x80><xff>", {0, 1, 127, 128, 255}},
      {"[ABCD", {'[', 'A', 'B', 'C', 'D'}},
      {"1~3~4~5~6~", {'1', '~', '3', '~', '4', '~', '5', '~', '6', '~'}},
      {"<up>", {259}},
      {"<down>", {258}},
      {"<right>", {261}},
      {"<left>", {260}},
      {"<home>", {262}},
      {"<del>", {330}},
      {"<end>", {360}},
      {"<pgup>", {339}},
      {"<pgdn>", {338}},
      {"a<up>b<del>c", {'a', 259, 'b', 330, 'c'}},
      // A terminal in the other cursor key mode.
      {"<esc>OA<esc>OH", {'O', 'A', 'O', 'H'}},
      // What breaks a sequence is itself delivered, and what was taken in before is lost.
      {"<esc>x", {'x'}},
      {"<esc>[Z", {'Z'}},
      {"<esc>[2~", {'2', '~'}},
      {"<esc>[1;5A", {';', '5', 'A'}},
      {"<esc>[[A", {'[', 'A'}},
      {"<esc>[~", {'~'}},
      {"<esc>[1A", {'A'}},
      {"<esc>[11~", {'1', '~'}},
      {"<esc>[7~<esc>[8~<esc>[0~<esc>[9~", {'7', '~', '8', '~', '0', '~', '9', '~'}},
      {"<esc>[3[A", {'[', 'A'}},
      {"<esc><x00>", {0}},
      // ESC begins anew wherever it stands.
      {"<esc><up>", {259}},
      {"<esc>[<up>", {259}},
      {"<esc>[5<up>", {259}},
      // Nothing comes from an open sequence.
      {"<esc>", {}},
      {"<esc>[", {}},
      {"<esc>[1", {}},
      {"a<esc>[6", {'a'}},
  };
  for (const Row& row : rows) EXPECT_EQ(decode(row.keys), row.codes) << row.keys;
}

TEST(KeyDecoder, DecodesEachByteExceptEscapeAsItself) {
  for (int byte = 0; byte < 256; ++byte) {
    KeyDecoder decoder;
    const auto code = decoder.feed(static_cast<unsigned char>(byte));
    if (byte == 0x1b) {
      EXPECT_FALSE(code);
    } else {
      EXPECT_EQ(code, byte);
    }
  }
}

TEST(KeyDecoder, StillWorksAfterAnyByteInAnyState) {
  for (const std::string_view opened : {"", "\x1b", "\x1b[", "\x1b[1"}) {
    for (int byte = 0; byte < 256; ++byte) {
      KeyDecoder decoder;
      feedAll(decoder, opened);
      decoder.feed(static_cast<unsigned char>(byte));
      // Whatever was open, this is a whole key again.
      EXPECT_EQ(feedAll(decoder, "\x1b[6~x"), (std::vector<int>{KeyPageDown, 'x'})) << opened << byte;
    }
  }
}

}  // namespace
}  // namespace flowscope
