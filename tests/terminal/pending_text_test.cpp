#include "terminal/pending_text.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>

#include "tests/support/unique_fd.h"

namespace flowscope {
namespace {

using testsupport::UniqueFd;
using State = PendingText::State;

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK), 0);
    read = UniqueFd(ends[0]);
    write = UniqueFd(ends[1]);
    fcntl(write.get(), F_SETPIPE_SZ, 4096);
  }

  std::string content() const {
    std::array<char, 8192> part{};
    const ssize_t count = ::read(read.get(), part.data(), part.size());
    return count < 0 ? "" : std::string(part.data(), static_cast<std::size_t>(count));
  }

  UniqueFd read;
  UniqueFd write;
};

TEST(PendingText, TakesAsMuchAsThereIsRoomFor) {
  PendingText text;
  EXPECT_TRUE(text.empty());
  EXPECT_EQ(text.append(std::string(PendingText::Capacity - 1, 'a')), PendingText::Capacity - 1);
  EXPECT_FALSE(text.appendWhole("bc"));
  EXPECT_EQ(text.append("bc"), 1U);
  EXPECT_EQ(text.append("c"), 0U);
  EXPECT_EQ(text.take(PendingText::Everything), std::string(PendingText::Capacity - 1, 'a') + "b");
  EXPECT_TRUE(text.empty());
  EXPECT_EQ(text.end(), PendingText::Capacity);
}

TEST(PendingText, WritesInOrderUpToAMark) {
  const Pipe pipe;
  PendingText text;
  text.append("one ");
  const PendingText::Mark mark = text.end();
  text.append("two");
  EXPECT_EQ(text.writeOnce(pipe.write.get(), mark).state, State::Written);
  EXPECT_EQ(text.writeOnce(pipe.write.get(), mark).state, State::Written);
  EXPECT_EQ(pipe.content(), "one ");
  EXPECT_EQ(text.writeOnce(pipe.write.get()).state, State::Written);
  EXPECT_EQ(pipe.content(), "two");
}

// Room that was written from is used again, whatever stays behind it.
TEST(PendingText, GoesOnForMoreThanItHolds) {
  const Pipe pipe;
  PendingText text;
  std::string appended;
  std::string written;
  for (int round = 0; written.size() < 3 * PendingText::Capacity; ++round) {
    const std::string piece(3000, static_cast<char>('a' + round % 26));
    const std::size_t count = text.append(piece);
    appended += piece.substr(0, count);
    text.writeOnce(pipe.write.get());
    written += pipe.content();
    ASSERT_EQ(appended.compare(0, written.size(), written), 0);
  }
}

TEST(PendingText, KeepsWhatFindsNoRoom) {
  const Pipe pipe;
  PendingText text;
  text.append(std::string(5000, 'a'));
  EXPECT_EQ(text.writeOnce(pipe.write.get()).state, State::Left);
  EXPECT_EQ(text.writeOnce(pipe.write.get()).state, State::NoRoom);
  EXPECT_EQ(pipe.content(), std::string(4096, 'a'));
  EXPECT_EQ(text.writeOnce(pipe.write.get()).state, State::Written);
  EXPECT_EQ(pipe.content(), std::string(904, 'a'));
}

TEST(PendingText, GivesAPipeWholeLines) {
  const Pipe pipe;
  PendingText text;
  const std::string line = std::string(99, 'a') + "\n";
  for (int i = 0; i < 60; ++i) text.append(line);
  EXPECT_EQ(text.writeLines(pipe.write.get()).state, State::Left);
  EXPECT_EQ(text.writeLines(pipe.write.get()).state, State::NoRoom);
  EXPECT_EQ(pipe.content().size(), 4000U);
  // Now there is room for some of the lines.
  ASSERT_EQ(::write(pipe.write.get(), line.data(), line.size()), 100);
  for (int i = 1; i < 35; ++i) ASSERT_EQ(::write(pipe.write.get(), line.data(), line.size()), 100);
  EXPECT_EQ(text.writeLines(pipe.write.get()).state, State::Left);
  EXPECT_EQ(pipe.content().size(), 3600U);
  EXPECT_EQ(text.writeLines(pipe.write.get()).state, State::Written);
  EXPECT_EQ(pipe.content().size(), 1900U);
}

TEST(PendingText, CutsALineThatNoPipeTakesWhole) {
  const Pipe pipe;
  PendingText text;
  text.append(std::string(5000, 'a') + "\n");
  EXPECT_EQ(text.writeLines(pipe.write.get()).state, State::Left);
  EXPECT_EQ(pipe.content().size(), 4096U);
  EXPECT_EQ(text.writeLines(pipe.write.get()).state, State::Written);
  EXPECT_EQ(pipe.content().size(), 905U);
}

TEST(PendingText, TellsAnError) {
  const UniqueFd readOnly(open("/dev/null", O_RDONLY | O_CLOEXEC));
  PendingText text;
  text.append("text");
  const auto [state, error] = text.writeOnce(readOnly.get());
  EXPECT_EQ(state, State::Refused);
  EXPECT_EQ(error, EBADF);
  EXPECT_EQ(text.writeOnSignal(readOnly.get(), PartingTime()), EBADF);
  text.clear();
  EXPECT_TRUE(text.empty());
}

TEST(PendingText, IsWrittenInASignalHandlerAsFarAsThereIsRoom) {
  const Pipe pipe;
  PendingText text;
  text.append(std::string(6000, 'a'));
  EXPECT_EQ(text.writeOnSignal(pipe.write.get(), PartingTime()), 0);
  EXPECT_EQ(pipe.content(), std::string(4096, 'a'));
  EXPECT_EQ(text.writeOnSignal(pipe.write.get(), PartingTime()), 0);
  EXPECT_EQ(pipe.content(), std::string(1904, 'a'));
  EXPECT_TRUE(text.empty());
}

}  // namespace
}  // namespace flowscope
