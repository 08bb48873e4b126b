// What a turn of the event loop collects, and when it leaves the process.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "terminal/waiting_stream.h"
#include "tests/support/deadline.h"
#include "tests/support/sanitizer.h"
#include "tests/support/unique_fd.h"
#include "tests/traffic/event_bytes.h"
#include "tests/traffic/recorded/recorded_fixture.h"
#include "tests/traffic/stream_shell.h"
#include "tests/traffic/temporary_file.h"
#include "tests/traffic/thread_writes.h"
#include "traffic/monitor_attachment.h"
#include "traffic/open_file.h"
#include "traffic/to_command.h"
#include "traffic/write_signals.h"

namespace flowscope {
namespace {

using namespace std::chrono_literals;
using testsupport::Deadline;
using testsupport::UniqueFd;

constexpr const char* SmallDevice =
    "Midi\n"
    "  Source\n"
    "    Seq\n"
    "      Out2.0\n"
    "      Out2.1\n"
    "      Out2.2\n"
    "  Sink\n";

constexpr const char* Port = "/Midi/Source/Seq/Out2.0";
constexpr std::string_view Start = "\x1b[39m\x1b[1G";

std::string line(std::uint8_t value) { return "0xD0 0x0" + std::to_string(value) + " 0x01\n"; }

// Commands run on another thread than the turn, as those of the input thread do.
void onAnotherThread(const std::function<void()>& command) { std::thread(command).join(); }

class TurnTest : public RecordedTest {
 protected:
  TurnTest() : RecordedTest({{{2, 3}}, {}, SmallDevice}, false) {}

  // A message with a value of one digit arrives.
  void arrive(std::uint8_t value) {
    const EventBytes event = EventBytes().record(1, {0xD0, value});
    EvtSrv::MemoryHolder holder = event.holder();
    shell.monitor().receiveMain("Out2.0", EvtSrv::EvtTyp_Debug_Receive, &holder, nullptr);
  }

  void command(const std::string& name, const TemporaryFile& to) {
    onAnotherThread([&] {
      if (name == "cat") {
        EXPECT_EQ(catCommand(shell, 0, Port), ResultOk);
      } else if (name == "end") {
        EXPECT_EQ(endCommand(shell), ResultOk);
      } else {
        EXPECT_EQ(toCommand(shell, to.name(), Port), ResultOk);
      }
    });
  }

  TemporaryFile file;
};

TEST_F(TurnTest, NothingIsWrittenBeforeItsEnd) {
  ASSERT_EQ(toCommand(shell, file.name(), Port), ResultOk);
  {
    const TrafficTurn turn(shell);
    arrive(1);
    arrive(2);
    EXPECT_EQ(file.content(), "");
    EXPECT_EQ(shell.printed(), "");
  }
  EXPECT_EQ(file.content(), line(1) + line(2));
  EXPECT_EQ(shell.printed(), std::string(Start) + line(1) + std::string(Start) + line(2));
  arrive(3);
  EXPECT_EQ(file.content(), line(1) + line(2) + line(3)) << "without a turn at once";
}

TEST_F(TurnTest, CommandsFindAllWrittenThatCameBefore) {
  for (const std::string name : {"cat", "end", "to"}) {
    const TemporaryFile other;
    ASSERT_EQ(toCommand(shell, file.name(), Port), ResultOk);
    const TrafficTurn turn(shell);
    arrive(1);
    command(name, other);
    EXPECT_EQ(file.content(), line(1)) << name;
    EXPECT_EQ(shell.printed(), std::string(Start) + line(1)) << name;
    arrive(2);
    writeCollected();
    EXPECT_EQ(file.content(), line(1)) << name;
    EXPECT_EQ(other.content(), name == "to" ? line(2) : "") << name;
    EXPECT_EQ(shell.printed(), name == "end" ? "" : std::string(Start) + line(2)) << name;
    EXPECT_EQ(endCommand(shell), ResultOk);
  }
}

TEST_F(TurnTest, AnAbandonedStreamWritesNothingIntoTheFileThatIsOpenedAgain) {
  ASSERT_EQ(toCommand(shell, file.name(), Port), ResultOk);
  {
    const TrafficTurn turn(shell);
    arrive(1);
    onAnotherThread([&] { EXPECT_EQ(toCommand(shell, file.name(), "/Midi/Source/Seq/*"), ResultOk); });
    EXPECT_EQ(file.content(), "");
    arrive(2);
  }
  EXPECT_EQ(file.content(), line(2));
  EXPECT_EQ(endCommand(shell), ResultOk);
  EXPECT_EQ(file.content(), line(2));
}

// What the old stream gets while the new file is being opened would come too late into the same file.
TEST_F(TurnTest, AStreamCollectsNothingWhileAnotherIsOpened) {
  const std::string pipe = testing::TempDir() + "turn_" + std::to_string(::getpid());
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  ASSERT_EQ(toCommand(shell, file.name(), Port), ResultOk);
  const TrafficTurn turn(shell);
  arrive(1);
  std::thread opener([&] { EXPECT_EQ(toCommand(shell, pipe.c_str(), Port), ResultOk); });
  const Deadline deadline(60s);
  while (file.content() != line(1) && !deadline.passed()) std::this_thread::sleep_for(1ms);
  EXPECT_EQ(file.content(), line(1));
  std::this_thread::sleep_for(20ms);
  arrive(2);
  while (file.content() != line(1) + line(2) && !deadline.passed()) std::this_thread::sleep_for(1ms);
  EXPECT_EQ(file.content(), line(1) + line(2));
  const UniqueFd reader(::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  opener.join();
  EXPECT_EQ(endCommand(shell), ResultOk);
  ::unlink(pipe.c_str());
}

TEST_F(TurnTest, ALongOneIsWrittenInPieces) {
  constexpr std::size_t Count = 10'000;
  ASSERT_EQ(toCommand(shell, file.name(), Port), ResultOk);
  std::string expected;
  {
    const TrafficTurn turn(shell);
    for (std::size_t i = 0; i < Count; ++i) {
      arrive(static_cast<std::uint8_t>(i % 10));
      expected += line(static_cast<std::uint8_t>(i % 10));
    }
    EXPECT_GT(file.content().size(), expected.size() / 2);
    EXPECT_LT(file.content().size(), expected.size());
  }
  EXPECT_EQ(file.content(), expected);
  EXPECT_EQ(shell.printed().size(), expected.size() + Count * Start.size());
}

// A pipe in which each write stays a packet of its own, and a stream to it.
class Packets {
 public:
  Packets() {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe2(ends.data(), O_DIRECT | O_CLOEXEC), 0);
    read_ = UniqueFd(ends[0]);
    write_ = UniqueFd(ends[1]);
    ::fcntl(read_.get(), F_SETFL, O_NONBLOCK);
    stream_.reset(openWaitingStream(write_.get()));
  }

  std::FILE* stream() const { return stream_.get(); }
  int writeEnd() const { return write_.get(); }

  // The size of the next packet; 0 if there is none.
  std::size_t next() {
    std::array<char, 65536> packet{};
    const ssize_t size = ::read(read_.get(), packet.data(), packet.size());
    return size < 0 ? 0 : static_cast<std::size_t>(size);
  }

 private:
  UniqueFd read_;
  UniqueFd write_;
  OwnedFile stream_;
};

// Texts go to a file and to a stream whose writes a test sees.
class TurnOfAStream : public testing::Test {
 protected:
  void start(const char* fileName) {
    ASSERT_TRUE(trafficOutput().trafficFile.open(fileName));
    trafficOutput().trafficMode = TrafficScreenAndFile;
  }

  void print(std::string text) { printTraffic(shell, text); }

  Packets screen;
  EvtSrv::EventPortManager manager{EvtSrv::ConBehave_Default, true};
  StreamShell shell{manager, screen.stream()};
};

TEST_F(TurnOfAStream, CostsOneWriteForTheFileAndOneForTheScreen) {
  constexpr std::size_t Count = 100;
  const TemporaryFile file;
  start(file.name());
  const std::uint64_t before = writesOfThisThread();
  {
    const TrafficTurn turn(shell);
    for (std::size_t i = 0; i < Count; ++i) print("0x90 0x3C 0x40 0x01\n");
  }
  const std::uint64_t writes = writesOfThisThread() - before;
  EXPECT_EQ(file.content().size(), Count * 20);
  // A packet is a page at most.
  EXPECT_EQ(screen.next() + screen.next(), Count * (20 + Start.size()));
  EXPECT_EQ(screen.next(), 0U);
  if (before == 0) GTEST_SKIP() << "this system does not count what a thread writes";
  if (testsupport::Sanitized) GTEST_SKIP() << "the sanitizer writes to a pipe to see whether memory can be read";
  EXPECT_EQ(writes, 2U);
}

TEST_F(TurnOfAStream, ThatIsShortIsOnePacket) {
  const TemporaryFile file;
  start(file.name());
  {
    const TrafficTurn turn(shell);
    for (int i = 0; i < 10; ++i) print("0x90 0x3C 0x40 0x01\n");
  }
  EXPECT_EQ(screen.next(), 10 * (20 + Start.size()));
  EXPECT_EQ(screen.next(), 0U);
}

TEST_F(TurnOfAStream, TheFileComesFirst) {
  const TemporaryFile file;
  start(file.name());
  // Each packet takes a page of the pipe; then the screen has no room.
  ::fcntl(screen.writeEnd(), F_SETPIPE_SZ, 4096);
  ASSERT_EQ(::write(screen.writeEnd(), "x", 1), 1);
  std::thread printer([&] {
    const TrafficTurn turn(shell);
    print("text\n");
  });
  const Deadline deadline(60s);
  while (file.content().empty() && !deadline.passed()) std::this_thread::sleep_for(1ms);
  EXPECT_EQ(file.content(), "text\n");
  EXPECT_EQ(screen.next(), 1U);
  printer.join();
  EXPECT_EQ(screen.next(), 5 + Start.size());
}

TEST_F(TurnOfAStream, TheScreenWaitsForTheFile) {
  const std::string name = testing::TempDir() + "slow_" + std::to_string(::getpid());
  ASSERT_EQ(::mkfifo(name.c_str(), 0600), 0);
  const UniqueFd reader(::open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  ::fcntl(reader.get(), F_SETPIPE_SZ, 4096);
  start(name.c_str());
  std::thread printer([&] {
    const TrafficTurn turn(shell);
    print(std::string(4096, 'x'));
    print("text\n");
  });
  pollfd written{reader.get(), POLLIN, 0};
  ASSERT_EQ(::poll(&written, 1, 60'000), 1);
  // Another thread does not wait for the file's reader, and leaves the order as it is.
  writeCollected();
  EXPECT_EQ(screen.next(), 0U);
  std::array<char, 8192> part{};
  EXPECT_EQ(::read(reader.get(), part.data(), part.size()), 4096);
  printer.join();
  EXPECT_EQ(::read(reader.get(), part.data(), part.size()), 5);
  EXPECT_EQ(screen.next() + screen.next(), 4096 + 5 + 2 * Start.size());
  ::unlink(name.c_str());
}

// On the thread of the event loop, the signal of a failed write is blocked all the time.
TEST_F(TurnOfAStream, ChangesNoSignalMaskWhereItIsSet) {
  const WriteSignals signals;
  const std::string name = testing::TempDir() + "gone_" + std::to_string(::getpid());
  ASSERT_EQ(::mkfifo(name.c_str(), 0600), 0);
  UniqueFd reader(::open(name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  start(name.c_str());
  reader.reset();
  testing::internal::CaptureStderr();
  {
    const TrafficTurn turn(shell);
    print("text\n");
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "flowscope: cannot write to " + name + ": Broken pipe\n");
  EXPECT_EQ(screen.next(), 5 + Start.size());
  sigset_t blocked;
  sigset_t waiting;
  pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
  sigpending(&waiting);
  EXPECT_EQ(sigismember(&blocked, SIGPIPE), 1);
  EXPECT_EQ(sigismember(&waiting, SIGPIPE), 0);
  ::unlink(name.c_str());
}

}  // namespace
}  // namespace flowscope
