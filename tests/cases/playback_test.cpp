// Playback files of many messages: what one console has logged another plays, complete and in order, and no file is
// too long.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include "tests/support/case_runner.h"
#include "tests/support/process.h"
#include "tests/support/pseudo_terminal.h"
#include "tests/support/sanitizer.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/stream_daemon.h"

namespace {

using namespace std::chrono_literals;
using testsupport::Deadline;

constexpr auto Patience = 100s;

testsupport::Command console(const testsupport::ScratchFolder& scratch, const std::string& endpoint = "embedded:") {
  testsupport::Command command{FLOWSCOPE_BINARY_DIR "/flowscope", {}, {}, scratch.path().string()};
  command.environment = testsupport::caseEnvironment(FLOWSCOPE_BINARY_DIR);
  command.environment["EVTSRV_ENDPOINT"] = endpoint;
  return command;
}

// A console that runs one line, to its end.
testsupport::ProcessResult runLine(testsupport::Command command, const std::string& line) {
  command.arguments = {"-c", line};
  return testsupport::runProcess(command, "", Deadline(Patience));
}

std::string contentOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

// Of each kind that the raw form keeps and playback reads: its status and the number of its values.
struct Kind {
  unsigned status;
  unsigned values;
};
constexpr std::array<Kind, 6> Kinds{{{0x80, 2}, {0x90, 2}, {0xA0, 2}, {0xB0, 2}, {0xD0, 1}, {0xE0, 2}}};

// In the raw form. The group counts on, so that a repetition or a gap shows.
std::string message(std::size_t index) {
  const Kind& kind = Kinds.at(index % Kinds.size());
  const auto first = static_cast<unsigned>(index % 128);
  const auto second = static_cast<unsigned>(index / 128 % 256);
  const auto group = static_cast<unsigned>(index % 65521);
  std::array<char, 64> text{};
  const int length =
      kind.values == 2
          ? std::snprintf(text.data(), text.size(), "0x%02X 0x%02X 0x%02X 0x%02X\n", kind.status, first, second, group)
          : std::snprintf(text.data(), text.size(), "0x%02X 0x%02X 0x%02X\n", kind.status, first, group);
  return {text.data(), static_cast<std::size_t>(length)};
}

// No message of a song ends in this group.
constexpr const char* LastLine = "0xB0 0x00 0x00 0xFFFF\n";

bool showsBehind(testsupport::PseudoTerminal& terminal, std::string_view text, std::size_t position) {
  const Deadline deadline(Patience);
  std::size_t searched = position;
  while (terminal.output().find(text, searched) == std::string::npos) {
    searched = std::max(position, terminal.output().size() - std::min(terminal.output().size(), text.size()));
    if (terminal.ended() || deadline.passed() || !terminal.read(deadline)) return false;
  }
  return true;
}

// A console of its own plays one file and logs what passes into another.
void playAndLog(const testsupport::ScratchFolder& scratch, const std::string& song, const std::string& log) {
  testsupport::PseudoTerminal terminal(console(scratch), {});
  ASSERT_TRUE(showsBehind(terminal, "[ /]$ ", 0));
  const std::size_t start = terminal.output().size();
  ASSERT_TRUE(terminal.type("to " + log + " /Midi/Source/Keyboard/*;from " + song + "\r", Deadline(Patience)));
  ASSERT_TRUE(showsBehind(terminal, "0xFFFF\r\n", start));
  ASSERT_TRUE(terminal.type("quit\r", Deadline(Patience)));
  EXPECT_EQ(terminal.waitForExit(Deadline(Patience)), testsupport::ExitStatus::exited(0));
}

std::string longSong() {
  constexpr std::size_t Count = testsupport::Sanitized ? 10'000 : 100'000;
  std::string song;
  for (std::size_t index = 1; index < Count; ++index) song += message(index);
  return song + LastLine;
}

TEST(PlaybackFile, LogOfOneConsoleIsPlayedByAnother) {
  const testsupport::ScratchFolder scratch;
  const std::string song = longSong();
  scratch.write("song", song);
  playAndLog(scratch, "song", "first");
  EXPECT_TRUE(contentOf(scratch.path() / "first") == song);
  playAndLog(scratch, "first", "second");
  EXPECT_TRUE(contentOf(scratch.path() / "second") == song);
}

// One console watches the other on the same service. The player ends as soon as it has handed over its last message.
TEST(PlaybackFile, AnotherConsoleLogsThePlaybackAndPlaysTheLog) {
  const testsupport::ScratchFolder scratch;
  const testsupport::StreamDaemon daemon(FLOWSCOPE_BINARY_DIR "/streamd");
  const testsupport::Command command = console(scratch, daemon.endpoint());
  const std::string song = longSong();
  scratch.write("song", song);

  testsupport::PseudoTerminal watcher(command, {});
  ASSERT_TRUE(showsBehind(watcher, "[ /]$ ", 0));
  const std::array<std::array<std::string, 3>, 2> rounds{
      {{"song", "Keyboard/KeyboardOut1", "first"}, {"first", "Panel/PanelOut1", "second"}}};
  for (const auto& [played, port, log] : rounds) {
    const std::size_t start = watcher.output().size();
    ASSERT_TRUE(watcher.type("end;to " + log + " /Midi/Source/" + port + ";pwd\r", Deadline(Patience)));
    ASSERT_TRUE(showsBehind(watcher, "\x1b[1G/\r\n", start));
    testsupport::ProcessResult result;
    const std::string line = "from " + played + " /Midi/Source/" + port;
    std::thread player([&] { result = runLine(command, line); });
    const bool arrived = showsBehind(watcher, "0xFFFF\r\n", start);
    player.join();
    ASSERT_TRUE(arrived);
    EXPECT_EQ(result.status, testsupport::ExitStatus::exited(0));
    EXPECT_EQ(result.standardOutput + result.standardError, "");
    EXPECT_TRUE(contentOf(scratch.path() / log) == song) << log;
  }
  ASSERT_TRUE(watcher.type("quit\r", Deadline(Patience)));
  EXPECT_EQ(watcher.waitForExit(Deadline(Patience)), testsupport::ExitStatus::exited(0));
}

TEST(PlaybackFile, OutlivesTheServiceThatItIsPlayedTo) {
  // More than the pipe and the way to the service hold.
  constexpr int Lines = 20'000;
  const testsupport::ScratchFolder scratch;
  testsupport::StreamDaemon daemon(FLOWSCOPE_BINARY_DIR "/streamd");
  const std::string song = scratch.path() / "song";
  ASSERT_EQ(mkfifo(song.c_str(), 0600), 0);
  std::thread writer([&] {
    std::ofstream pipe(song);
    for (int i = 0; i < Lines; ++i) pipe << "0xD0 1 0\n";
    pipe.flush();
    daemon.signal(SIGKILL);
    daemon.waitForExit(Deadline(Patience));
    for (int i = 0; i < Lines; ++i) pipe << "0xD0 2 0\n";
  });
  const auto result = runLine(console(scratch, daemon.endpoint()), "from song /Midi/Source/Keyboard/*;pwd");
  writer.join();
  EXPECT_EQ(result.status, testsupport::ExitStatus::exited(0));
  EXPECT_EQ(result.standardOutput, "/\n");
  EXPECT_EQ(result.standardError, "flowscope: " + daemon.endpoint() + ": connection to the service lost\n");
}

// The console tells its own peak, before and behind a file of a million lines and a hundred million bytes.
TEST(PlaybackFile, OfAMillionLinesNeedsNoMoreMemory) {
  constexpr std::size_t Count = testsupport::Sanitized ? 20'000 : 1'000'000;
  // What the service keeps for a console that reads nothing, and as much again for the work.
  constexpr std::size_t MostGrowth = 16'384;
  const testsupport::ScratchFolder scratch;
  const std::string line = "0x90 0x3C 0x40 0x00" + std::string(80, ' ') + "\n";
  {
    std::ofstream song(scratch.path() / "song", std::ios::binary);
    for (std::size_t index = 0; index < Count; ++index) song << line;
    ASSERT_TRUE(song.flush());
  }
  scratch.write("short", line);
  const std::string peak = "$sed -n 's/^VmHWM:[^0-9]*\\([0-9]*\\) kB/\\1/p' /proc/$PPID/status;";
  const auto result =
      runLine(console(scratch), "from short /Midi/Source/Keyboard/*;" + peak + "from song;" + peak + "pwd");
  EXPECT_EQ(result.status, testsupport::ExitStatus::exited(0));
  EXPECT_EQ(result.standardError, "");
  std::size_t before = 0;
  std::size_t after = 0;
  std::array<char, 2> root{};
  ASSERT_EQ(std::sscanf(result.standardOutput.c_str(), "%zu\n%zu\n%1[/]", &before, &after, root.data()), 3)
      << result.standardOutput;
  // A sanitizer keeps what was freed.
  if (!testsupport::Sanitized) {
    EXPECT_LT(after, before + MostGrowth);
  }
}

}  // namespace
