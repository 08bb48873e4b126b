#include "terminal/waiting_stream.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>

#include "tests/support/deadline.h"
#include "tests/support/unique_fd.h"

namespace flowscope {
namespace {

using testsupport::UniqueFd;

struct CloseStream {
  void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;

// What is written on one thread and read, in no hurry, on another.
struct Line {
  UniqueFd readEnd;
  UniqueFd writeEnd;
};

Line makePipe() {
  std::array<int, 2> ends{};
  EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
  return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

Line makeTerminal() {
  int master = -1;
  int slave = -1;
  EXPECT_EQ(openpty(&master, &slave, nullptr, nullptr, nullptr), 0);
  return {UniqueFd(master), UniqueFd(slave)};
}

void doNotBlock(const UniqueFd& descriptor) {
  fcntl(descriptor.get(), F_SETFL, fcntl(descriptor.get(), F_GETFL) | O_NONBLOCK);
}

std::string readAll(int descriptor, std::size_t size) {
  const testsupport::Deadline deadline(std::chrono::seconds(30));
  std::string seen;
  while (seen.size() < size) {
    pollfd ready{descriptor, POLLIN, 0};
    if (poll(&ready, 1, deadline.pollTimeout()) == 0) break;
    std::array<char, 1000> piece{};
    const ssize_t count = read(descriptor, piece.data(), piece.size());
    if (count <= 0) break;
    seen.append(piece.data(), static_cast<std::size_t>(count));
  }
  return seen;
}

// The lines "0", "1", ..., more than pipes and terminals hold.
constexpr int Lines = 50'000;

std::string lines(const std::string& lineEnd) {
  std::string text;
  for (int line = 0; line < Lines; ++line) text += std::to_string(line) + lineEnd;
  return text;
}

void expectAllLines(Line line, const std::string& lineEnd) {
  doNotBlock(line.writeEnd);
  std::thread writer([&] {
    const Stream stream(openWaitingStream(line.writeEnd.get()));
    for (int number = 0; number < Lines; ++number) std::fprintf(stream.get(), "%d\n", number);
    EXPECT_EQ(std::fflush(stream.get()), 0);
    EXPECT_EQ(std::ferror(stream.get()), 0);
  });
  // What comes first fills whatever lies between.
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  const std::string expected = lines(lineEnd);
  EXPECT_TRUE(readAll(line.readEnd.get(), expected.size()) == expected);
  line.readEnd.reset();
  writer.join();
  EXPECT_NE(fcntl(line.writeEnd.get(), F_GETFL) & O_NONBLOCK, 0) << "the flag is not the stream's to change";
}

TEST(WaitingStream, WaitsForRoomInAPipe) { expectAllLines(makePipe(), "\n"); }

TEST(WaitingStream, WaitsForRoomOnATerminal) { expectAllLines(makeTerminal(), "\r\n"); }

TEST(WaitingStream, IsLineBufferedOnlyOnATerminal) {
  const Line terminal = makeTerminal();
  const Line pipe = makePipe();
  doNotBlock(terminal.readEnd);
  doNotBlock(pipe.readEnd);
  const Stream toTerminal(openWaitingStream(terminal.writeEnd.get()));
  const Stream toPipe(openWaitingStream(pipe.writeEnd.get()));
  std::fputs("line\nrest", toTerminal.get());
  std::fputs("line\nrest", toPipe.get());
  EXPECT_EQ(readAll(terminal.readEnd.get(), 6), "line\r\n");
  std::array<char, 16> piece{};
  EXPECT_EQ(read(pipe.readEnd.get(), piece.data(), piece.size()), -1);
  flushStream(toPipe.get());
  EXPECT_EQ(readAll(pipe.readEnd.get(), 9), "line\nrest");
}

TEST(WaitingStream, MayHoldLinesOnATerminalToo) {
  const Line terminal = makeTerminal();
  doNotBlock(terminal.readEnd);
  const Stream stream(openWaitingStream(terminal.writeEnd.get()));
  holdLines(stream.get());
  std::fputs("line\n", stream.get());
  std::array<char, 16> piece{};
  EXPECT_EQ(read(terminal.readEnd.get(), piece.data(), piece.size()), -1);
  flushWaitingStreams();
  EXPECT_EQ(readAll(terminal.readEnd.get(), 6), "line\r\n");
}

TEST(WaitingStream, WritesAnotherTextBehindItsOwn) {
  const Line pipe = makePipe();
  const Stream stream(openWaitingStream(pipe.writeEnd.get()));
  PendingText text;
  text.append("more ");
  const PendingText::Mark mark = text.end();
  text.append("rest");
  std::fputs("first ", stream.get());
  writeThrough(stream.get(), text, mark);
  EXPECT_EQ(readAll(pipe.readEnd.get(), 11), "first more ");
  EXPECT_EQ(text.take(PendingText::Everything), "rest");
}

// Answers how a process ends that writes without a reader on a thread that blocks the signal, from then on or before.
std::string endWithoutReader(bool blockedBefore) {
  const pid_t child = fork();
  if (child == 0) {
    alarm(60);
    Line pipe = makePipe();
    sigset_t signal;
    sigemptyset(&signal);
    sigaddset(&signal, SIGPIPE);
    if (blockedBefore) pthread_sigmask(SIG_BLOCK, &signal, nullptr);
    std::FILE* const stream = openWaitingStream(pipe.writeEnd.get());
    pthread_sigmask(SIG_BLOCK, &signal, nullptr);
    pipe.readEnd.reset();
    std::fputs("text", stream);
    flushStream(stream);
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFSIGNALED(status) ? "killed by " + std::to_string(WTERMSIG(status)) : "exited";
}

TEST(WaitingStream, WithoutAReaderEndsTheProcessLikeAnyOther) {
  EXPECT_EQ(endWithoutReader(false), "killed by " + std::to_string(SIGPIPE));
  EXPECT_EQ(endWithoutReader(true), "exited");
}

TEST(WaitingStream, LeavesItsDescriptorOpen) {
  const Line pipe = makePipe();
  { const Stream stream(openWaitingStream(pipe.writeEnd.get())); }
  EXPECT_NE(fcntl(pipe.writeEnd.get(), F_GETFD), -1);
}

TEST(WaitingStream, StopsWaitingOnAnError) {
  Line terminal = makeTerminal();
  doNotBlock(terminal.writeEnd);
  std::thread writer([&] {
    const Stream stream(openWaitingStream(terminal.writeEnd.get()));
    for (int number = 0; number < Lines; ++number) std::fprintf(stream.get(), "%d\n", number);
    EXPECT_NE(std::ferror(stream.get()), 0);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  terminal.readEnd.reset();
  writer.join();
}

}  // namespace
}  // namespace flowscope
