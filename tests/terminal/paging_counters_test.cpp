#include "terminal/paging_counters.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "terminal/key_codes.h"
#include "terminal/key_source.h"

namespace flowscope {
namespace {

// What happens while a listing of lines lines is shown: "." for each line, "?" for each time the user is asked. The
// user answers with the given keys, then with "q". "|" stands where the user stopped the listing.
std::string show(PagingCounters& counters, int rows, bool paged, int lines, std::vector<int> keys = {}) {
  std::string seen;
  std::size_t next = 0;
  for (int line = 0; line < lines; ++line) {
    if (counters.countLine(rows, paged) == PageDecision::Ask) {
      seen += '?';
      if (counters.answer(next < keys.size() ? keys[next++] : 'q') == PageAnswer::Stop) return seen + '|';
    }
    seen += '.';
  }
  return seen;
}

std::string dots(std::size_t count) { return std::string(count, '.'); }

struct Row {
  std::string_view name;
  int rows;
  int lines;
  std::vector<int> keys;
  std::string seen;
};

// In a window of one row the page is full after one line, but no line is counted.
PagingCounters afterAPageOfOneRow() {
  PagingCounters counters;
  show(counters, 1, true, 1, {' '});
  return counters;
}

TEST(PagingCounters, UnpagedLinesAreCountedTogetherLikeOneByOne) {
  bool shows = false;
  for (int rows = 0; rows < 6; ++rows) {
    for (int lines = 0; lines < 8; ++lines) {
      for (int rowsLater = 0; rowsLater < 8; ++rowsLater) {
        PagingCounters together = afterAPageOfOneRow();
        together.countUnpaged(rows, lines);
        PagingCounters single = afterAPageOfOneRow();
        for (int line = 0; line < lines; ++line) single.countLine(rows, false);
        PagingCounters none = afterAPageOfOneRow();
        const std::string seen = show(single, rowsLater, true, 10);
        EXPECT_EQ(show(together, rowsLater, true, 10), seen) << rows << ' ' << lines << ' ' << rowsLater;
        shows = shows || show(none, rowsLater, true, 10) != seen;
      }
    }
  }
  EXPECT_TRUE(shows) << "counting makes no difference here";
}

TEST(PagingCounters, PagedListingAfterAResetAsksAfterEachPage) {
  const std::vector<Row> rows{
      {"fits", 24, 22, {}, dots(22)},
      {"q stops", 24, 100, {'q'}, dots(22) + "?|"},
      {"space shows a page", 24, 100, {' '}, dots(22) + "?" + dots(22) + "?|"},
      {"enter shows a line", 24, 100, {'\n', '\n'}, dots(22) + "?.?.?|"},
      {"the enter key's code too", 24, 100, {KeyEnter}, dots(22) + "?.?|"},
      {"a page after single lines", 24, 100, {'\n', ' '}, dots(22) + "?.?" + dots(22) + "?|"},
      {"capital q is a page key", 24, 100, {'Q'}, dots(22) + "?" + dots(22) + "?|"},
      {"end of input is a page key", 24, 50, {EndOfInput, EndOfInput}, dots(22) + "?" + dots(22) + "?" + dots(6)},
      {"one row", 1, 5, {' ', '\n', ' '}, "?.?.?.?|"},
      {"two rows", 2, 5, {' ', '\n', ' '}, "?.?.?.?|"},
      {"three rows", 3, 5, {' ', '\n', ' '}, ".?.?.?.?|"},
      {"four rows", 4, 9, {' ', ' '}, "..?..?..?|"},
  };
  for (const Row& row : rows) {
    PagingCounters counters;
    EXPECT_EQ(show(counters, row.rows, true, row.lines, row.keys), row.seen) << row.name;
  }
}

TEST(PagingCounters, UnpagedListingNeverAsks) {
  for (const int rows : {1, 2, 3, 24}) {
    PagingCounters counters;
    EXPECT_EQ(show(counters, rows, false, 1000), dots(1000)) << rows;
  }
}

TEST(PagingCounters, UnpagedLinesLeaveAPageForAPagedListingWithoutAReset) {
  PagingCounters counters;
  show(counters, 24, false, 1000);
  // The first count is at its end already; the lines of the page are counted by themselves.
  EXPECT_EQ(show(counters, 24, true, 100), dots(22) + "?|");
}

TEST(PagingCounters, UnpagedLinesCountTowardsThePage) {
  PagingCounters counters;
  show(counters, 24, false, 10);
  // Twelve until the first count is full, then ten more until the page is.
  EXPECT_EQ(show(counters, 24, true, 100), dots(22) + "?|");
}

TEST(PagingCounters, ListingContinuesThePageOfTheListingBefore) {
  PagingCounters counters;
  show(counters, 24, true, 20);
  EXPECT_EQ(show(counters, 24, true, 100), dots(2) + "?|");
}

TEST(PagingCounters, ResetStartsBothCountersAgain) {
  PagingCounters counters;
  show(counters, 24, true, 22);
  counters.reset();
  EXPECT_EQ(show(counters, 24, true, 100), dots(22) + "?|");
}

TEST(PagingCounters, RowsAreReadAgainForEachLine) {
  PagingCounters counters;
  EXPECT_EQ(show(counters, 24, true, 10), dots(10));
  EXPECT_EQ(show(counters, 5, true, 10), "?|");
  EXPECT_EQ(show(counters, 40, true, 28), dots(28));
}

}  // namespace
}  // namespace flowscope
