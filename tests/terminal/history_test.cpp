#include "terminal/history.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace flowscope {
namespace {

using Lines = std::vector<std::string>;

History recorded(const Lines& lines) {
  History history;
  for (const std::string& line : lines) history.record(line);
  return history;
}

TEST(History, KeepsEveryLineInOrder) {
  const Lines lines{"ls", "ls", "", "cd a", "ls"};
  EXPECT_EQ(recorded(lines).entries(), lines);
}

TEST(History, IfEmptyReturnsTheCurrentLine) {
  History history;
  EXPECT_EQ(history.back("typed", 1), "typed");
  EXPECT_EQ(history.forward("typed", 1), "typed");
}

TEST(History, WalksBackAndForthAndReturnsToTheTypedLine) {
  History history = recorded({"one", "two", "three"});
  Lines seen;
  std::string line = "typed";
  for (int i = 0; i < 4; ++i) seen.push_back(line = history.back(line, 1));
  for (int i = 0; i < 4; ++i) seen.push_back(line = history.forward(line, 1));
  EXPECT_EQ(seen, (Lines{"three", "two", "one", "one", "two", "three", "typed", "typed"}));
}

TEST(History, WalksSeveralLinesAtOnceAndStopsAtBothEnds) {
  Lines lines;
  for (int i = 0; i < 15; ++i) lines.push_back(std::to_string(i));
  History history = recorded(lines);
  EXPECT_EQ(history.back("typed", 10), "5");
  EXPECT_EQ(history.back("5", 10), "0");
  EXPECT_EQ(history.forward("0", 10), "10");
  EXPECT_EQ(history.forward("10", 10), "typed");
}

TEST(History, DoesNotMoveByACountOfZero) {
  History history = recorded({"one"});
  EXPECT_EQ(history.back("typed", 0), "typed");
  EXPECT_EQ(history.back("typed", 1), "one");
}

TEST(History, KeepsEditedLinesDuringAWalk) {
  History history = recorded({"one", "two"});
  EXPECT_EQ(history.back("typed", 1), "two");
  EXPECT_EQ(history.back("two edited", 1), "one");
  EXPECT_EQ(history.forward("one edited", 1), "two edited");
  EXPECT_EQ(history.back("two edited again", 1), "one edited");
  EXPECT_EQ(history.forward("one edited", 2), "typed");
  EXPECT_EQ(history.entries(), (Lines{"one", "two"}));
}

TEST(History, ForgetsEditedLinesWhenALineIsRecorded) {
  History history = recorded({"one", "two", "three"});
  EXPECT_EQ(history.back("typed", 3), "one");
  EXPECT_EQ(history.forward("one edited", 1), "two");
  history.record("four");
  EXPECT_EQ(history.back("", 1), "four");
  EXPECT_EQ(history.back("four", 3), "one");
}

TEST(History, EndsTheWalkWhenALineIsRecorded) {
  History history = recorded({"one", "two"});
  EXPECT_EQ(history.back("typed", 2), "one");
  history.record("one");
  EXPECT_EQ(history.forward("", 5), "");
  EXPECT_EQ(history.back("", 1), "one");
  EXPECT_EQ(history.back("one", 1), "two");
  EXPECT_EQ(history.back("two", 1), "one");
  EXPECT_EQ(history.back("one", 1), "one");
}

}  // namespace
}  // namespace flowscope
