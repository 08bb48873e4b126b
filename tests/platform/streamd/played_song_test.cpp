// A song of a Debian package (openttd-openmsx), played by streamctl, seen by two consoles.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/midi/smf_file.h"
#include "tests/platform/streamd/console.h"
#include "tests/platform/streamd/quiet_device.h"
#include "tests/support/process.h"
#include "tests/support/stream_daemon.h"

namespace streamd {
namespace {

constexpr const char* Song = "/usr/share/games/openttd/baseset/openmsx/ultimate_run.mid";

std::string hex(unsigned value) {
  std::array<char, 8> text{};
  std::snprintf(text.data(), text.size(), "0x%02X", value);
  return text.data();
}

// What a console prints of each message of the song, in raw form.
std::vector<std::string> linesOfSong() {
  const auto loaded = service::loadSmf(Song);
  const auto* score = std::get_if<service::Score>(&loaded);
  std::vector<std::string> lines;
  if (score == nullptr) return lines;
  for (const service::ScoreEvent& event : score->events) {
    std::string line;
    for (const std::uint8_t byte : event.bytes) line += hex(byte) + ' ';
    lines.push_back(line + hex(event.group));
  }
  return lines;
}

// The lines that begin with a number, without escape sequences.
std::vector<std::string> messageLines(std::string_view output) {
  std::vector<std::string> lines;
  for (std::size_t at = output.find("0x"); at != std::string_view::npos; at = output.find("0x", at)) {
    const std::size_t end = output.find_first_of("\r\n", at);
    if (end == std::string_view::npos) break;
    lines.emplace_back(output.substr(at, end - at));
    at = end;
  }
  return lines;
}

class PlayedSong : public testing::TestWithParam<const char*> {};

TEST_P(PlayedSong, IsCompleteAndInOrderOnTwoConsoles) {
  const std::vector<std::string> song = linesOfSong();
  ASSERT_GT(song.size(), 1000U);
  const DeviceFile device;
  const testsupport::StreamDaemon daemon(FLOWSCOPE_BINARY_DIR "/streamd", {"--device", device.path()});
  std::vector<std::unique_ptr<Console>> consoles;
  for (int i = 0; i < 2; ++i) {
    consoles.push_back(std::make_unique<Console>(daemon.endpoint()));
    consoles.back()->type("cat /Midi/Source/MidiUsb/MidiUsbOut2");
    ASSERT_TRUE(consoles.back()->shows("[ /]$ "));
  }
  const auto play =
      testsupport::runProcess({FLOWSCOPE_BINARY_DIR "/streamctl",
                               {"--endpoint", daemon.endpoint(), "play", Song, "MidiUsbOut2", "--speed", GetParam()},
                               testsupport::caseEnvironment(FLOWSCOPE_BINARY_DIR),
                               {}},
                              "", testsupport::Deadline(Console::Patience));
  EXPECT_EQ(play.status, testsupport::ExitStatus::exited(0)) << play.standardError;
  // A message that stands for the end of the song.
  Injector injector(daemon.socket());
  ASSERT_TRUE(injector.control().inject("MidiUsbOut2", {{0, {0x90, 0x7F, 0x7E}}}));
  for (const auto& console : consoles) {
    ASSERT_TRUE(console->shows("0x90 0x7F 0x7E 0x00\r\n"));
    std::vector<std::string> seen = messageLines(console->terminal().output());
    ASSERT_EQ(seen.size(), song.size() + 1);
    seen.pop_back();
    EXPECT_EQ(seen, song);
  }
}

INSTANTIATE_TEST_SUITE_P(Speeds, PlayedSong, testing::Values("0", "40"),
                         [](const auto& speed) { return "Speed" + std::string(speed.param); });

}  // namespace
}  // namespace streamd
