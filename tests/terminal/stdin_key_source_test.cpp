#include "terminal/stdin_key_source.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/support/unique_fd.h"

namespace flowscope {
namespace {

using testsupport::UniqueFd;

// A key source at the end of a pipe.
class Pipe {
 public:
  Pipe() {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    in_ = fdopen(ends[0], "r");
    writeEnd_ = UniqueFd(ends[1]);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  ~Pipe() { std::fclose(in_); }

  std::FILE* in() { return in_; }
  void type(std::string_view bytes) {
    EXPECT_EQ(write(writeEnd_.get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }
  void close() { writeEnd_.reset(); }

 private:
  std::FILE* in_;
  UniqueFd writeEnd_;
};

std::vector<int> readAll(KeySource& keys) {
  std::vector<int> answers;
  do {
    answers.push_back(keys.readByte());
  } while (answers.back() != EndOfInput);
  return answers;
}

TEST(StdinKeySource, ReturnsBytesAndThenTheEnd) {
  Pipe pipe;
  StdinKeySource keys(pipe.in());
  pipe.type(std::string_view("a\0\x1b\xff\x80", 5));
  pipe.close();
  EXPECT_EQ(readAll(keys), (std::vector<int>{'a', 0, 0x1b, 0xff, 0x80, EndOfInput}));
  EXPECT_EQ(keys.readByte(), EndOfInput);
}

TEST(StdinKeySource, ReturnsTheEndForAClosedDescriptor) {
  Pipe pipe;
  StdinKeySource keys(pipe.in());
  const int descriptor = fileno(pipe.in());
  const UniqueFd kept(dup(descriptor));
  ::close(descriptor);
  EXPECT_EQ(keys.readByte(), EndOfInput);
  EXPECT_EQ(dup2(kept.get(), descriptor), descriptor);  // for fclose
}

TEST(StdinKeySource, WaitsOnANonBlockingDescriptor) {
  Pipe pipe;
  fcntl(fileno(pipe.in()), F_SETFL, O_NONBLOCK);
  StdinKeySource keys(pipe.in());
  std::atomic<int> answer{EndOfInput};
  std::thread reader([&] { answer = keys.readByte(); });
  pipe.type("k");
  reader.join();
  EXPECT_EQ(answer, 'k');
}

std::atomic<int> stolenFrom{-1};
std::atomic<int> stolen{0};

TEST(StdinKeySource, ContinuesAfterAnotherReaderTookAByte) {
  constexpr int Typed = 3000;
  stolen = 0;
  // The handler runs on the reader's thread, mostly after its waiting and before its reading.
  struct sigaction action {};
  struct sigaction before {};
  action.sa_handler = [](int) {
    const int savedErrno = errno;
    char byte = 0;
    if (read(stolenFrom, &byte, 1) == 1) ++stolen;
    errno = savedErrno;
  };
  sigaction(SIGUSR1, &action, &before);
  Pipe pipe;
  stolenFrom = fileno(pipe.in());
  fcntl(stolenFrom, F_SETFL, O_NONBLOCK);
  StdinKeySource keys(pipe.in());
  std::vector<int> answers;
  std::thread reader([&] { answers = readAll(keys); });
  for (int i = 0; i < Typed; ++i) {
    pipe.type("x");
    pthread_kill(reader.native_handle(), SIGUSR1);
    std::this_thread::yield();
  }
  pipe.close();
  reader.join();
  sigaction(SIGUSR1, &before, nullptr);
  EXPECT_EQ(static_cast<int>(answers.size()) - 1 + stolen, Typed);
}

TEST(StdinKeySource, ReturnsAResumptionOnceAndBeforeWaitingKeys) {
  Pipe pipe;
  StdinKeySource keys(pipe.in());
  pipe.type("ab");
  keys.notifyResumed();
  keys.notifyResumed();
  pipe.close();
  EXPECT_EQ(readAll(keys), (std::vector<int>{InputResumed, 'a', 'b', EndOfInput}));
}

TEST(StdinKeySource, ResumptionWakesTheReader) {
  Pipe pipe;
  StdinKeySource keys(pipe.in());
  std::vector<int> answers;
  std::thread reader([&] { answers = readAll(keys); });
  keys.notifyResumed();
  pipe.type("a");
  pipe.close();
  reader.join();
  EXPECT_EQ(answers, (std::vector<int>{InputResumed, 'a', EndOfInput}));
}

TEST(StdinKeySource, StoppingWakesTheReaderForGood) {
  Pipe pipe;
  StdinKeySource keys(pipe.in());
  std::vector<int> answers;
  std::thread reader([&] { answers = readAll(keys); });
  keys.stop();
  reader.join();
  EXPECT_EQ(answers, (std::vector<int>{EndOfInput}));
  pipe.type("a");
  keys.notifyResumed();
  EXPECT_EQ(keys.readByte(), EndOfInput);
}

std::atomic<int> interruptions{0};

TEST(StdinKeySource, ContinuesAfterASignal) {
  struct sigaction action {};
  struct sigaction before {};
  action.sa_handler = [](int) { ++interruptions; };
  sigaction(SIGUSR1, &action, &before);  // without SA_RESTART
  Pipe pipe;
  StdinKeySource keys(pipe.in());
  std::vector<int> answers;
  std::thread reader([&] { answers = readAll(keys); });
  // Signals are not counted, and a checker of threads may hold one back until the next.
  while (interruptions < 20) {
    pthread_kill(reader.native_handle(), SIGUSR1);
    std::this_thread::yield();
  }
  pipe.type("a");
  pipe.close();
  reader.join();
  sigaction(SIGUSR1, &before, nullptr);
  EXPECT_EQ(answers, (std::vector<int>{'a', EndOfInput}));
}

}  // namespace
}  // namespace flowscope
