// However a signal ends the program, the terminal is as it was, and the parent sees the signal.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <string_view>
#include <vector>

#include "tests/support/case_runner.h"
#include "tests/support/pseudo_terminal.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/signals.h"

namespace {

using namespace std::chrono_literals;
using testsupport::Deadline;

constexpr auto Patience = 30s;

bool shows(testsupport::PseudoTerminal& terminal, std::string_view text) {
  const Deadline deadline(Patience);
  while (terminal.output().find(text) == std::string::npos) {
    if (terminal.ended() || deadline.passed() || !terminal.read(deadline)) return false;
  }
  return true;
}

bool isRaw(const testsupport::PseudoTerminal& terminal) { return (terminal.settings().c_lflag & (ICANON | ECHO)) == 0; }

// Of the real-time signals the first and the last.
std::vector<int> signals() {
  std::vector<int> all = testsupport::endingSignals();
  std::erase_if(all, [](int signal) { return signal > SIGRTMIN && signal < SIGRTMAX; });
  return all;
}

class EndingSignal : public testing::TestWithParam<int> {};

// While traffic is shown and written to a file.
TEST_P(EndingSignal, LeavesTheTerminalAsItWas) {
  const testsupport::ScratchFolder scratch;
  testsupport::PseudoTerminal terminal({FLOWSCOPE_BINARY_DIR "/flowscope",
                                        {},
                                        testsupport::caseEnvironment(FLOWSCOPE_BINARY_DIR),
                                        scratch.path().string()},
                                       {});
  ASSERT_TRUE(shows(terminal, "[ /]$ "));
  EXPECT_TRUE(isRaw(terminal));
  ASSERT_TRUE(terminal.type("cat -l /Midi/Source/Clock/*;to log /Midi/Source/Clock/*\r", Deadline(Patience)));
  ASSERT_TRUE(shows(terminal, "ClockOut1)")) << terminal.output();
  terminal.signal(GetParam());
  EXPECT_EQ(terminal.waitForExit(Deadline(Patience)), testsupport::ExitStatus::signalled(GetParam()));
  EXPECT_TRUE(testsupport::sameSettings(terminal.settings(), terminal.settingsAtStart()));
}

INSTANTIATE_TEST_SUITE_P(Signals, EndingSignal, testing::ValuesIn(signals()),
                         [](const testing::TestParamInfo<int>& row) { return testsupport::signalName(row.param); });

}  // namespace
