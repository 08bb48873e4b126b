// The console on a board with a 32-bit processor, used over the board's serial line.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "tests/support/case_runner.h"

namespace {

using namespace std::chrono_literals;

// The emulated board boots in less than half a minute, but needs longer on a loaded machine.
constexpr auto Patience = 120s;

// The file that consoles/console puts on the board.
constexpr const char* Music = "/usr/share/games/openttd/baseset/openmsx/ultimate_run.mid";

const std::filesystem::path VmFolder = std::filesystem::path(FLOWSCOPE_SOURCE_DIR) / "tests/vm";
const std::filesystem::path Build = std::filesystem::path(FLOWSCOPE_SOURCE_DIR) / "build/arm";

// The board has the ports of its sequencer, and aseqdump, which listens (consoles/console). Messages and the output of
// other programs appear between the lines of the console; the emulator ends the serial line.
constexpr const char* Steps = R"(
prompt [ /]$
type <tab>
wait terminate
type ls M<tab>
prompt [ /]$ ls Midi/
type So<tab>
prompt [ /]$ ls Midi/Source/
type Midi_<tab>
prompt [ /]$ ls Midi/Source/Midi_Through/
type <tab>
prompt [ /]$ ls Midi/Source/Midi_Through/Midi_Through_Port-0_out
type <c-w>cd Midi<enter>
prompt [ Midi]$
type pwd<enter>
wait /Midi
prompt [ Midi]$
type con Source/Midi_T* Sink/aseq*<enter>
wait connect /Midi/Source/Midi_Through:/Midi/Sink/aseqdump
wait Port subscribed            14:0 -> 128:0
type $aconnect -l<enter>
wait Connecting To: 128:0
prompt [ Midi]$
type ls -r<enter>
prompt [ Midi]$
screen
  {**}
  +-- Source/
      +-- Midi_Through/
          +-- Midi_Through_Port-0_out/
              +-- aseqdump/
                  +-- aseqdump
  +-- Sink/
      +-- Midi_Through/
          +-- Midi_Through_Port-0_in
      +-- aseqdump/
          +-- aseqdump/
              +-- Midi_Through/
                  +-- Midi_Through_Port-0_out
  [ Midi]$
type dis Source/Midi_Through<enter>
wait Port unsubscribed          14:0 -> 128:0
type $echo 0x90 60 100 5 0x80 60 0 5 >notes<enter>
prompt [ Midi]$
type cat -l Sink/aseqdump/aseqdump<enter>
prompt [ Midi]$
type from notes Sink/aseqdump/aseqdump<enter>
wait aseqdump) note on  :note= 0x3C :velocity= 0x64 :grpId= 0x05
wait Note on                 5, note 60, velocity 100
type end;cd<enter>
prompt [ /]$
type cat -l Midi/Source/Midi_Through/Mi<tab><enter>
prompt [ /]$
type $aplaymidi -p 14:0 ultimate_run.mid &<enter>
wait Midi_Through_Port-0_out) note on  :note= 0x{*} :velocity= 0x{*} :grpId= 0x00
wait Midi_Through_Port-0_out) note on  :note= 0x{*} :velocity= 0x{*} :grpId= 0x06
wait Midi_Through_Port-0_out) note on  :note= 0x{*} :velocity= 0x{*} :grpId= 0x09
type end<enter>
prompt [ /]$
type $pidof aplaymidi | wc -w<enter>
prompt [ /]$
screen
  {**}
  [ /]$ $pidof aplaymidi | wc -w
  1
  [ /]$
type quit<enter>
wait flowscope ended with 0
wait the line is as it was
exit 0
)";

TEST(Board, ConsoleRunsOnASerialLine) {
  if (!std::filesystem::exists(Build / "bin/flowscope")) {
    GTEST_SKIP() << "no build for the board (scripts/build-arm)";
  }
  if (!std::filesystem::exists(Music)) GTEST_SKIP() << "no " << Music << " (scripts/setup)";
  const std::string script = "program " + (VmFolder / "run").string() + "\nargs -i arm " + Build.string() + " " +
                             (VmFolder / "consoles/console").string() + Steps;
  const auto problem = testsupport::runCase(script, {"", testsupport::caseEnvironment("/usr/bin"), Patience});
  if (problem && problem->cause.find("cannot run here") != std::string::npos) GTEST_SKIP() << problem->cause;
  EXPECT_FALSE(problem.has_value()) << problem->line << ": " << problem->cause;
}

}  // namespace
