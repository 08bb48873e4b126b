// Event data to text: full events of note messages in the console, compared with a bare loop that formats the same text
// with snprintf and writes it with fwrite to the same stream.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "core/flowscope_shell.h"
#include "core/shell_io.h"
#include "platform/wire/events.h"
#include "terminal/waiting_stream.h"
#include "tests/support/fakes.h"
#include "traffic/open_file.h"
#include "traffic/traffic_output.h"

namespace {

constexpr std::int64_t RecordsAnEvent = 100;
constexpr const char* PortName = "SequencerOut1";

std::vector<std::uint8_t> eventOfNotes() {
  std::vector<std::uint8_t> event(wire::EventHeaderBytes);
  for (std::int64_t index = 0; index < RecordsAnEvent; ++index) {
    const std::array<std::uint8_t, 3> message{0x90, static_cast<std::uint8_t>(index), 0x40};
    wire::appendRecord(0, message, event);
  }
  wire::EventHeader header;
  header.size = static_cast<std::uint32_t>(event.size());
  wire::writeEventHeader(header, std::span<std::uint8_t, wire::EventHeaderBytes>(event.data(), 20));
  return event;
}

void console(benchmark::State& state) {
  const flowscope::OwnedFile nowhere(std::fopen("/dev/null", "w"));
  const flowscope::OwnedFile out(flowscope::openWaitingStream(fileno(nowhere.get())));
  flowscope::DescriptorTerminalSize size;
  flowscope::test::ScriptedKeys keys;
  flowscope::test::NoCommands system;
  flowscope::ShellIo io{out.get(), size, keys, system};
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Void, true);
  flowscope::FlowScope shell(manager, false, io);
  shell.monitor().setLabelled(true);
  flowscope::trafficOutput().trafficMode = flowscope::TrafficScreen;
  const auto event = eventOfNotes();
  for (auto _ : state) {
    EvtSrv::MemoryHolder data(event);
    const flowscope::TrafficTurn turn(shell);
    shell.monitor().receiveMain(PortName, EvtSrv::EvtTyp_Debug_Receive, &data, nullptr);
  }
  state.SetItemsProcessed(state.iterations() * RecordsAnEvent);
}
BENCHMARK(console)->Name("event_printing/console");

void bareLoop(benchmark::State& state) {
  const flowscope::OwnedFile out(std::fopen("/dev/null", "w"));
  std::array<char, 1024> line{};
  for (auto _ : state) {
    for (unsigned note = 0; note < RecordsAnEvent; ++note) {
      const int length = std::snprintf(line.data(), line.size(),
                                       "\033[39m\033[1G%s) note on  :note= 0x%02X :velocity= 0x%02X :grpId= 0x%02X\n",
                                       PortName, note, 0x40U, 0U);
      std::fwrite(line.data(), 1, static_cast<std::size_t>(length), out.get());
    }
    std::fflush(out.get());
  }
  state.SetItemsProcessed(state.iterations() * RecordsAnEvent);
}
BENCHMARK(bareLoop)->Name("event_printing/snprintf_and_fwrite");

}  // namespace
