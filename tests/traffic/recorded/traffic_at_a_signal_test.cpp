// A signal ends the program at any instant while messages are printed: nothing printed is lost, nothing comes twice.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>

#include "terminal/terminal_signals.h"
#include "terminal/waiting_stream.h"
#include "tests/support/fakes.h"
#include "tests/traffic/stream_shell.h"
#include "tests/traffic/temporary_file.h"
#include "traffic/flowscope_port_midi.h"

namespace flowscope {
namespace {

// Counts what a child has printed, where its parent sees it.
class SharedCount {
 public:
  SharedCount() {
    void* page = mmap(nullptr, sizeof(Count), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    count_ = new (page) Count(0);
  }
  SharedCount(const SharedCount&) = delete;
  SharedCount& operator=(const SharedCount&) = delete;
  ~SharedCount() { munmap(count_, sizeof(Count)); }

  void set(std::uint32_t value) const { count_->store(value); }
  std::uint32_t get() const { return count_->load(); }

 private:
  using Count = std::atomic<std::uint32_t>;
  Count* count_;
};

// The thread that the signal interrupts.
enum class Thread { ThatPrints, Another };

// Prints the numbers from 1 on, in turns of different lengths, until a signal ends the process.
[[noreturn]] void printForever(const std::string& log, const std::string& shown, const SharedCount& printed,
                               Thread interrupted) {
  alarm(60);
  const int out = ::open(shown.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Default, true);
  StreamShell shell(manager, openWaitingStream(out));
  trafficOutput().trafficFile.open(log.c_str());
  trafficOutput().trafficMode = TrafficScreenAndFile;
  test::ScriptedKeys keys;
  const TerminalSignals signals(keys);
  // A thread that is just starting takes a signal away from the first one, so it is there only where it is meant.
  std::thread other;
  if (interrupted == Thread::Another) {
    std::atomic<bool> isThere{false};
    other = std::thread([&isThere] {
      isThere = true;
      for (;;) pause();
    });
    // ThreadSanitizer may lose a signal that comes while a thread starts.
    while (!isThere) std::this_thread::yield();
    sigset_t term;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &term, nullptr);
  }
  std::string text;
  for (std::uint32_t number = 1;;) {
    const TrafficTurn turn(shell);
    for (const std::uint32_t end = number + number % 7; number <= end; ++number) {
      text = std::to_string(number) + "\n";
      printTraffic(shell, text);
      printed.set(number);
    }
  }
}

// Returns N if the text is the lines 1 to N, each behind the prefix; else a failure.
std::uint32_t lastOf(std::string_view text, std::string_view prefix) {
  std::uint32_t expected = 0;
  while (!text.empty()) {
    const std::string line = std::string(prefix) + std::to_string(++expected) + "\n";
    if (!text.starts_with(line)) {
      ADD_FAILURE() << "instead of line " << expected << " of: " << text.substr(0, 60);
      return 0;
    }
    text.remove_prefix(line.size());
  }
  return expected;
}

class TrafficAtASignal : public testing::TestWithParam<Thread> {};

TEST_P(TrafficAtASignal, IsWholeInTheFileAndOnTheScreen) {
  constexpr int Rounds = 60;
  int complete = 0;
  for (int round = 0; round < Rounds; ++round) {
    const TemporaryFile log;
    const TemporaryFile shown;
    const SharedCount printed;
    const pid_t child = fork();
    if (child == 0) printForever(log.name(), shown.name(), printed, GetParam());
    while (printed.get() == 0) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::microseconds(37 * round));
    const std::uint32_t before = printed.get();
    kill(child, SIGTERM);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << status;
    const std::uint32_t inFile = lastOf(log.content(), "");
    const std::uint32_t onScreen = lastOf(shown.content(), "\x1b[39m\x1b[1G");
    ASSERT_LE(onScreen, inFile);
    ASSERT_LE(inFile, printed.get() + 1);
    if (onScreen >= before) ++complete;
    // The thread does not print while its handler runs.
    if (GetParam() == Thread::ThatPrints) {
      ASSERT_GE(onScreen, printed.get());
    }
  }
  // A handler on another thread gives up after 100 milliseconds, if the one that prints does not run for so long.
  EXPECT_GE(complete, Rounds / 2);
}

INSTANTIATE_TEST_SUITE_P(Threads, TrafficAtASignal, testing::Values(Thread::ThatPrints, Thread::Another),
                         [](const auto& each) { return each.param == Thread::ThatPrints ? "ThatPrints" : "Another"; });

}  // namespace
}  // namespace flowscope
