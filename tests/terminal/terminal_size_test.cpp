#include "terminal/terminal_size.h"

#include <gtest/gtest.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <vector>

#include "tests/support/unique_fd.h"

namespace flowscope {
namespace {

using testsupport::UniqueFd;

TEST(TerminalSize, AsksTheTerminalEachTime) {
  int master = -1;
  int slave = -1;
  ASSERT_EQ(openpty(&master, &slave, nullptr, nullptr, nullptr), 0);
  const UniqueFd masterOwner(master);
  const UniqueFd slaveOwner(slave);
  DescriptorTerminalSize size(slave);

  struct Row {
    unsigned short rows;
    unsigned short columns;
    int answeredRows;
    int answeredColumns;
  };
  const std::vector<Row> rows{{0, 0, 24, 80}, {50, 132, 50, 132}, {1, 1, 1, 1}, {0, 40, 24, 40}, {10, 0, 10, 80}};
  for (const Row& row : rows) {
    const winsize told{row.rows, row.columns, 0, 0};
    ASSERT_EQ(ioctl(master, TIOCSWINSZ, &told), 0);
    EXPECT_EQ(size.rows(), row.answeredRows) << row.rows << 'x' << row.columns;
    EXPECT_EQ(size.columns(), row.answeredColumns) << row.rows << 'x' << row.columns;
  }
}

TEST(TerminalSize, WithoutATerminalIsTheDefault) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  const UniqueFd readEnd(ends[0]);
  const UniqueFd writeEnd(ends[1]);
  for (const int descriptor : {ends[1], -1}) {
    DescriptorTerminalSize size(descriptor);
    EXPECT_EQ(size.rows(), 24);
    EXPECT_EQ(size.columns(), 80);
  }
}

}  // namespace
}  // namespace flowscope
