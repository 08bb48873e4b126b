// Consoles, as processes on terminals, that share one service.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <memory>
#include <numeric>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/platform/streamd/console.h"
#include "tests/platform/streamd/injector.h"
#include "tests/platform/streamd/quiet_device.h"
#include "tests/support/process.h"
#include "tests/support/sanitizer.h"
#include "tests/support/stream_daemon.h"

namespace streamd {
namespace {

using namespace std::chrono_literals;
using testsupport::Deadline;

const std::string Streamd = FLOWSCOPE_BINARY_DIR "/streamd";
const std::string Port = "MidiUsbOut2";
constexpr const char* Watch = "cat /Midi/Source/MidiUsb/MidiUsbOut2";
constexpr std::size_t QueueBytes = 1U << 20U;

std::vector<std::uint32_t> numbersBelow(std::uint32_t count) {
  std::vector<std::uint32_t> numbers(count);
  std::iota(numbers.begin(), numbers.end(), 0U);
  return numbers;
}

class Consoles : public testing::Test {
 protected:
  std::unique_ptr<Console> watchingConsole() {
    auto console = std::make_unique<Console>(daemon_.endpoint());
    console->type(Watch);
    EXPECT_TRUE(console->shows("[ /]$ "));
    return console;
  }

  bool clientCountBecomes(std::size_t count) {
    const Deadline deadline(Console::Patience);
    while (injector_.stats().clients.size() != count) {
      if (deadline.passed()) return false;
      std::this_thread::sleep_for(10ms);
    }
    return true;
  }

  DeviceFile device_;
  testsupport::StreamDaemon daemon_{Streamd, {"--device", device_.path(), "--queue-bytes", std::to_string(QueueBytes)}};
  Injector injector_{daemon_.socket()};
};

TEST_F(Consoles, TwoConsolesSeeTheSameMessages) {
  constexpr std::uint32_t Count = 5'000;
  const auto one = watchingConsole();
  const auto two = watchingConsole();
  injector_.inject(Port, Count);
  EXPECT_EQ(one->notesUntil(Count - 1), numbersBelow(Count));
  EXPECT_EQ(two->notesUntil(Count - 1), numbersBelow(Count));
}

TEST_F(Consoles, TwentyConsolesSeeTheSameMessages) {
  constexpr std::uint32_t Count = 500;
  std::vector<std::unique_ptr<Console>> consoles;
  for (int i = 0; i < 20; ++i) consoles.push_back(watchingConsole());
  injector_.inject(Port, Count);
  for (const auto& console : consoles) EXPECT_EQ(console->notesUntil(Count - 1), numbersBelow(Count));
}

TEST_F(Consoles, KilledConsoleIsForgottenAndTheOtherGoesOn) {
  const auto killed = watchingConsole();
  const auto other = watchingConsole();
  ASSERT_EQ(injector_.stats().clients.size(), 3U);
  killed->terminal().signal(SIGKILL);
  EXPECT_TRUE(clientCountBecomes(2));
  EXPECT_TRUE(daemon_.logged(") lost its connection\n", Deadline(Console::Patience)));
  injector_.inject(Port, 10);
  EXPECT_EQ(other->notesUntil(9), numbersBelow(10));
}

TEST_F(Consoles, TwoConsolesThatPatchTheSamePortsAgreeInTheEnd) {
  const testsupport::ScratchFolder folder;
  std::string script;
  for (int i = 0; i < 200; ++i) {
    script += "con /Midi/Source/MidiUsb/MidiUsbOut2 /Midi/Sink/MidiDin/MidiDinIn1\n";
    script += "dis /Midi/Source/MidiUsb/MidiUsbOut2\n";
  }
  folder.write("script", script);
  const auto run = [&](std::vector<std::string> arguments) {
    testsupport::Command command{FLOWSCOPE_BINARY_DIR "/flowscope", std::move(arguments), {}, {}};
    command.environment = testsupport::caseEnvironment(FLOWSCOPE_BINARY_DIR);
    command.environment["EVTSRV_ENDPOINT"] = daemon_.endpoint();
    return testsupport::runProcess(command, "", Deadline(Console::Patience));
  };
  const std::string file = folder.path() / "script";
  std::thread other([&] { run({"-f", file}); });
  const auto one = run({"-f", file});
  other.join();
  EXPECT_EQ(one.status, testsupport::ExitStatus::exited(0));
  EXPECT_EQ(one.standardError, "");
  // Who comes late finds the graph as both have left it: each took away what there was.
  EXPECT_EQ(run({"-c", "ls -r /Midi/Source/MidiUsb"}).standardOutput, "\n+-- MidiUsbOut1\n+-- MidiUsbOut2\n");
  const auto links =
      injector_.control().ask<wire::Links>(wire::AskLinks{injector_.control().session()}).value_or(wire::Links{});
  EXPECT_TRUE(links.links.empty());
  EXPECT_GE(links.version, 400U) << "both have patched";
}

TEST_F(Consoles, StoppedConsoleKeepsItsTapAndGetsItsQueue) {
  constexpr std::uint32_t Count = 2'000;
  const auto stopped = watchingConsole();
  const auto other = watchingConsole();
  // As the key does it, for longer than any silence that would count as death.
  stopped->terminal().signal(SIGTSTP);
  for (std::uint32_t second = 0; second < 10; ++second) {
    injector_.inject(Port, Count / 10);
    std::this_thread::sleep_for(1s);
  }
  EXPECT_EQ(injector_.stats().clients.size(), 3U);
  stopped->terminal().signal(SIGCONT);
  EXPECT_EQ(stopped->notesUntil(Count - 1), numbersBelow(Count));
  EXPECT_EQ(other->notesUntil(Count - 1), numbersBelow(Count));
}

TEST_F(Consoles, StoppedConsoleIsToldItsExactLoss) {
  constexpr std::uint32_t Step = 20'000;
  const auto stopped = watchingConsole();
  stopped->terminal().signal(SIGSTOP);
  std::uint32_t sent = 0;
  while (injector_.stats().lost == 0) {
    injector_.inject(Port, Step);
    sent += Step;
    ASSERT_LT(sent, 10'000'000U) << "no queue is that large";
  }
  const std::uint64_t lost = injector_.stats().lost;
  stopped->terminal().signal(SIGCONT);
  ASSERT_TRUE(stopped->shows("flowscope: " + std::to_string(lost) + " messages lost: this program reads too slowly"));
  injector_.inject(Port, 1);
  std::vector<std::uint32_t> expected = numbersBelow(static_cast<std::uint32_t>(sent - lost));
  expected.push_back(sent);
  EXPECT_EQ(stopped->notesUntil(sent), expected);
}

TEST_F(Consoles, TapComesBackWithAServiceThatWasKilled) {
  const auto console = watchingConsole();
  daemon_.signal(SIGKILL);
  EXPECT_TRUE(console->shows("flowscope: " + daemon_.endpoint() + ": connection to the service lost"));
  daemon_.restart();
  EXPECT_TRUE(console->shows("flowscope: " + daemon_.endpoint() + ": connected to the service again, 1 tap restored"));
  Injector again(daemon_.socket());
  again.inject(Port, 20);
  EXPECT_EQ(console->notesUntil(19), numbersBelow(20));
  console->type("quit");
  EXPECT_EQ(console->terminal().waitForExit(Deadline(Console::Patience)), testsupport::ExitStatus::exited(0));
}

TEST_F(Consoles, ConsoleQuitsAtOnceWithoutItsService) {
  const auto console = watchingConsole();
  daemon_.signal(SIGTERM);
  EXPECT_TRUE(console->shows("connection to the service lost"));
  console->type("ls /Midi/Source/MidiUsb");
  EXPECT_TRUE(console->shows("MidiUsbOut2")) << "what was there when it started";
  console->type("quit");
  EXPECT_EQ(console->terminal().waitForExit(Deadline(Console::Patience)), testsupport::ExitStatus::exited(0));
}

// Resident memory of a process in bytes.
std::size_t residentBytes(pid_t process) {
  std::ifstream in("/proc/" + std::to_string(process) + "/statm");
  std::size_t total = 0;
  std::size_t resident = 0;
  in >> total >> resident;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

TEST_F(Consoles, FloodDoesNotMakeTheServiceGrowBeyondItsQueues) {
  if (testsupport::Sanitized) GTEST_SKIP() << "the sanitizer keeps memory that was given back";
  constexpr std::size_t Readers = 4;
  std::vector<std::unique_ptr<Console>> consoles;
  for (std::size_t i = 0; i < Readers; ++i) {
    consoles.push_back(watchingConsole());
    consoles.back()->terminal().signal(SIGSTOP);
  }
  const std::size_t before = residentBytes(daemon_.id());
  // What a million messages leave beyond those that fill all queues would show as growth.
  injector_.inject(Port, 300'000);
  const std::size_t filled = residentBytes(daemon_.id());
  injector_.inject(Port, 1'000'000);
  const std::size_t flooded = residentBytes(daemon_.id());
  EXPECT_GT(injector_.stats().lost, 0U);
  // A queue, and the window of events that are on their way (256 KiB), for each; and as much again for buffers.
  EXPECT_LT(filled - before, 2 * Readers * (QueueBytes + (256U << 10U)));
  EXPECT_LT(flooded, filled + (1U << 20U));
}

}  // namespace
}  // namespace streamd
