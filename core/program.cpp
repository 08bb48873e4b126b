#include "core/program.h"

#include <cerrno>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "core/flowscope_shell.h"
#include "core/line_executor.h"
#include "evtsrv.h"
#include "terminal/terminal_mode.h"
#include "terminal/terminal_signals.h"
#include "terminal/waiting_stream.h"
#include "traffic/traffic_output.h"
#include "traffic/write_signals.h"

namespace flowscope {

namespace {

constexpr int TurnMilliseconds = 100;

// Lifts the network ban. The bundled library supports no network services; another one may.
constexpr auto ConnectionBehaviour = EvtSrv::ConBehave_Default & ~EvtSrv::ConBehave_DisableOverNetwork;

// Quiet shells live until the process ends: their destructors would have nothing to restore.
FlowScope& newQuietShell(EvtSrv::EventPortManager& manager, ShellIo& io) {
  static auto& shells = *new std::vector<std::unique_ptr<FlowScope>>;
  auto& shell = *shells.emplace_back(std::make_unique<FlowScope>(manager, true, io));
  shell.init(manager);
  shell.output().setQuiet(true);
  return shell;
}

enum class ProgramOption : char { Line, Script };

std::optional<ProgramOption> programOptionOf(std::string_view word) {
  if (word == "-c") return ProgramOption::Line;
  if (word == "-f") return ProgramOption::Script;
  return std::nullopt;
}

// Returns true if at least one option was run.
bool runOptions(EvtSrv::EventPortManager& manager, std::span<const char* const> words, ShellIo& io) {
  bool ran = false;
  for (std::size_t index = 0; index < words.size(); ++index) {
    const auto option = programOptionOf(words[index]);
    if (!option) continue;
    ran = true;
    FlowScope& shell = newQuietShell(manager, io);
    if (++index == words.size()) {
      shell.output().reportResult(ResultBadArgument);
    } else if (*option == ProgramOption::Line) {
      runLine(shell, words[index], false);
    } else {
      runScript(shell, words[index]);
    }
  }
  return ran;
}

void runInteractively(EvtSrv::EventPortManager& manager, ShellIo& io) {
  holdLines(io.out);
  const auto shell = std::make_unique<FlowScope>(manager, false, io);
  shell->init(manager);
  // Behind the start of the input thread, whose commands must not inherit what is blocked here.
  const WriteSignals writeSignals;
  // Here, because the prompt would otherwise wait until the input thread runs.
  flushStream(io.out);
  shell->openInput();
  while (shell->isRunning()) {
    {
      const TrafficTurn turn(*shell);
      shell->manager().receiveEvent(TurnMilliseconds);
    }
    flushStream(io.out);
    shell->manager().finishActiveTerm(TurnMilliseconds);
    if (catchUpRawMode()) io.keys.notifyResumed();
  }
  shell->waitForInput();
  // A write to standard error may have raised it, and nobody looked.
  writeSignals.take(EPIPE);
}

}  // namespace

int runProgram(std::span<const char* const> words, ShellIo& io) {
  EvtSrv::EventPortManager manager(ConnectionBehaviour, true);
  trafficOutput().trafficMode = TrafficOff;
  trafficOutput().monitorTarget = EvtSrv::DebugPortName;
  const TerminalSignals signals(io.keys);
  if (!runOptions(manager, words, io)) runInteractively(manager, io);
  flushStream(io.out);
  return 0;
}

}  // namespace flowscope
