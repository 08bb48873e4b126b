#include "tests/support/keys.h"

#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <string>

namespace testsupport {
namespace {

struct Row {
  std::string keys;
  std::optional<std::string> bytes;

  friend void PrintTo(const Row& row, std::ostream* out) { *out << testing::PrintToString(row.keys); }
};

class KeyTable : public testing::TestWithParam<Row> {};

TEST_P(KeyTable, GivesTheBytesOfATerminal) { EXPECT_EQ(keyBytes(GetParam().keys), GetParam().bytes); }

INSTANTIATE_TEST_SUITE_P(Keys, KeyTable,
                         testing::Values(Row{"", ""}, Row{"cd Midi", "cd Midi"}, Row{"<up><down>", "\x1b[A\x1b[B"},
                                         Row{"<left><right>", "\x1b[D\x1b[C"}, Row{"a<enter>b", "a\rb"},
                                         Row{"<home><end><del>", "\x1b[1~\x1b[4~\x1b[3~"},
                                         Row{"<pgup><pgdn>", "\x1b[5~\x1b[6~"}, Row{"<c-a><c-z>", "\x01\x1a"},
                                         Row{"<c-\\>", "\x1c"}, Row{"<tab><esc><bs>", "\t\x1b\x7f"},
                                         Row{"<lt>up>", "<up>"}, Row{"a<space>", "a "}, Row{"<xff><x0a>", "\xff\n"},
                                         Row{"<nokey>", std::nullopt}, Row{"a<up", std::nullopt},
                                         Row{"<c-1>", std::nullopt}, Row{"<xg0>", std::nullopt},
                                         Row{"<>", std::nullopt}));

}  // namespace
}  // namespace testsupport
