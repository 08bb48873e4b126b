// A Standard MIDI File of many thousand messages, played without pauses, on the screen complete and in order.
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "tests/support/case_runner.h"
#include "tests/support/pseudo_terminal.h"
#include "tests/support/scratch_folder.h"

namespace {

using namespace std::chrono_literals;

constexpr std::size_t MessageCount = 20'000;
constexpr auto Patience = 60s;

// Every message differs from its neighbours, and a repetition or a gap of any length below 127 * 127 shows.
std::uint8_t note(std::size_t index) { return static_cast<std::uint8_t>(index % 127); }
std::uint8_t velocity(std::size_t index) { return static_cast<std::uint8_t>(1 + index / 127 % 127); }

std::string bigEndian(std::size_t value) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8) {
    bytes += static_cast<char>(static_cast<std::uint8_t>(value >> shift));
  }
  return bytes;
}

std::string standardMidiFile() {
  std::string track;
  for (std::size_t index = 0; index < MessageCount; ++index) {
    track += '\x01';  // one tick after the message before
    track += static_cast<char>(0x90);
    track += static_cast<char>(note(index));
    track += static_cast<char>(velocity(index));
  }
  track += std::string("\x00\xFF\x2F\x00", 4);
  return "MThd" + bigEndian(6) + std::string("\x00\x00\x00\x01\x00\x60", 6) + "MTrk" + bigEndian(track.size()) + track;
}

std::string line(std::size_t index) {
  std::array<char, 128> text{};
  const int length = std::snprintf(
      text.data(), text.size(), "\x1b[39m\x1b[1GPlayerOut1) note on  :note= 0x%02X :velocity= 0x%02X :grpId= 0x00\r\n",
      unsigned{note(index)}, unsigned{velocity(index)});
  return {text.data(), static_cast<std::size_t>(length)};
}

// Reads until the output from position on contains text; where it stands, or npos.
std::size_t readUntil(testsupport::PseudoTerminal& terminal, std::string_view text, std::size_t position) {
  const testsupport::Deadline deadline(Patience);
  std::size_t found = std::string::npos;
  while ((found = terminal.output().find(text, position)) == std::string::npos && !terminal.ended() &&
         !deadline.passed()) {
    terminal.read(deadline);
  }
  return found;
}

TEST(FullSpeed, LosesNothingAndKeepsTheOrder) {
  const testsupport::ScratchFolder scratch;
  scratch.write("song.mid", standardMidiFile());
  scratch.write("device.toml",
                "[[group]]\nid = 0\nname = \"Player\"\nsources = 1\n"
                "[[player]]\nsource = \"PlayerOut1\"\nfile = \"song.mid\"\nloop = false\nspeed = 0\n");
  testsupport::Command command{FLOWSCOPE_BINARY_DIR "/flowscope", {}, {}, scratch.path().string()};
  command.environment = testsupport::caseEnvironment(FLOWSCOPE_BINARY_DIR);
  command.environment["EVTSRV_ENDPOINT"] = "embedded:device.toml";
  testsupport::PseudoTerminal terminal(command, {});

  ASSERT_NE(readUntil(terminal, "[ /]$ ", 0), std::string::npos);
  // The system command holds the next prompt back, so that nothing stands between the messages.
  ASSERT_TRUE(terminal.type("cat -l /Midi/Source/Player/*;$cat\r", testsupport::Deadline(Patience)));
  const std::size_t start = readUntil(terminal, line(0), 0);
  ASSERT_NE(start, std::string::npos);
  std::size_t position = start;
  for (std::size_t index = 0; index < MessageCount; ++index) {
    const std::string expected = line(index);
    ASSERT_EQ(readUntil(terminal, expected, position), position) << "message " << index;
    position += expected.size();
  }

  // Only in line mode is this key the end of the command's input.
  const testsupport::Deadline deadline(Patience);
  while ((terminal.settings().c_lflag & ICANON) == 0 && !deadline.passed()) {
    terminal.read(deadline.atMost(10ms));
  }
  ASSERT_TRUE(terminal.type("\x04", testsupport::Deadline(Patience)));
  // Directly behind the last message comes the prompt: nothing came twice.
  EXPECT_EQ(readUntil(terminal, "\x1b[7G", position), position) << terminal.output().substr(position);
  ASSERT_TRUE(terminal.type("quit\r", testsupport::Deadline(Patience)));
  EXPECT_EQ(terminal.waitForExit(testsupport::Deadline(Patience)), testsupport::ExitStatus::exited(0));
}

}  // namespace
