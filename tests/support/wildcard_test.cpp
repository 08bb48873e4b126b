#include "tests/support/wildcard.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace testsupport {
namespace {

struct TextRow {
  std::string pattern;
  std::string text;
  bool matches;

  // ctest names the test after this; the bytes of the row, pointers included, differ from build to build.
  friend void PrintTo(const TextRow& row, std::ostream* out) {
    *out << testing::PrintToString(row.pattern) << " and " << testing::PrintToString(row.text);
  }
};

class TextTable : public testing::TestWithParam<TextRow> {};

TEST_P(TextTable, ComparesTheWholeText) {
  EXPECT_EQ(matchesText(GetParam().pattern, GetParam().text), GetParam().matches);
}

INSTANTIATE_TEST_SUITE_P(Texts, TextTable,
                         testing::Values(TextRow{"", "", true}, TextRow{"", "a", false}, TextRow{"a", "", false},
                                         TextRow{"abc", "abc", true}, TextRow{"abc", "abcd", false},
                                         TextRow{"{*}", "", true}, TextRow{"{*}", "abc", true},
                                         TextRow{"a{*}", "abc", true}, TextRow{"b{*}", "abc", false},
                                         TextRow{"{*}c", "abc", true}, TextRow{"{*}b", "abc", false},
                                         TextRow{"a{*}c{*}c", "abcbc", true}, TextRow{"a{*}c{*}c", "abc", false},
                                         TextRow{"ab{*}bc", "abc", false}, TextRow{"{*}b{*}", "abc", true},
                                         TextRow{"{*}d{*}", "abc", false}, TextRow{"a*c", "abc", false}));

struct RowsRow {
  std::vector<std::string> patterns;
  std::vector<std::string> rows;
  bool matches;

  friend void PrintTo(const RowsRow& row, std::ostream* out) {
    *out << testing::PrintToString(row.patterns) << " and " << testing::PrintToString(row.rows);
  }
};

class RowsTable : public testing::TestWithParam<RowsRow> {};

TEST_P(RowsTable, ComparesRowByRow) {
  EXPECT_EQ(matchesRows(GetParam().patterns, GetParam().rows), GetParam().matches);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, RowsTable,
    testing::Values(RowsRow{{"a", "b"}, {"a", "b"}, true}, RowsRow{{"a", "b"}, {"a", "b", "", "  "}, true},
                    RowsRow{{"a ", "b"}, {"a", "b  "}, true}, RowsRow{{"a", "", "b"}, {"a", "b"}, false},
                    RowsRow{{"a"}, {"a", "b"}, false}, RowsRow{{"a", "b"}, {"a"}, false},
                    RowsRow{{"", "a"}, {"a"}, false}, RowsRow{{"{**}"}, {}, true},
                    RowsRow{{"{**}", "b"}, {"a", "a", "b"}, true}, RowsRow{{"{**}", "b"}, {"b"}, true},
                    RowsRow{{"{**}", "b"}, {"b", "a"}, false}, RowsRow{{"a", "{**}"}, {"a", "b", "c"}, true},
                    RowsRow{{"a", "{**}", "c"}, {"a", "b", "c", "c"}, true}, RowsRow{{"{*}x"}, {"y"}, false}));

}  // namespace
}  // namespace testsupport
