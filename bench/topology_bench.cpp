// Listing, patterns and completion on devices of 1,000 to 100,000 ports, compared with GNU find over folders of the
// same names and cat of the same output. The argument is the number of ports; "port" is the time for one of them,
// "node" the resident memory for one node of the tree. docs/performance.md says what the figures mean.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>

#include "bench/console.h"
#include "bench/device_of_ports.h"

namespace {

using bench::Console;

void showPerPort(benchmark::State& state) {
  state.counters["port"] = benchmark::Counter(static_cast<double>(state.iterations() * state.range(0)),
                                              benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// A console that has listed this path before, like a typical user's.
void runLines(benchmark::State& state, const char* line) {
  Console console(static_cast<int>(state.range(0)), "/dev/null");
  console.run(line);
  for (auto _ : state) console.run(line);
  showPerPort(state);
}

// The first listing of a console fetches all connections and makes their nodes.
void firstWholeTree(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto console = std::make_unique<Console>(static_cast<int>(state.range(0)), "/dev/null");
    state.ResumeTiming();
    console->run("ls -r /Midi");
    state.PauseTiming();
    console.reset();
    state.ResumeTiming();
  }
  showPerPort(state);
}

void wholeTree(benchmark::State& state) { runLines(state, "ls -r /Midi"); }
void allGroups(benchmark::State& state) { runLines(state, "ls /Midi/*/Group*"); }
void oneGroup(benchmark::State& state) { runLines(state, "ls /Midi/Source/Group7"); }

void completion(benchmark::State& state) {
  Console console(static_cast<int>(state.range(0)), "/dev/null");
  for (auto _ : state) {
    console.shell().lineEditor().drawPrompt("p", "cat /Midi/Source/Group7/Group7Out1");
    console.shell().lineEditor().handleKey('\t');
  }
  showPerPort(state);
}

void startToPrompt(benchmark::State& state) {
  for (auto _ : state) Console console(static_cast<int>(state.range(0)), "/dev/null");
  showPerPort(state);
}

void runCommand(benchmark::State& state, const std::string& command) {
  for (auto _ : state) {
    if (std::system(command.c_str()) != 0) state.SkipWithError("the command failed");
  }
  showPerPort(state);
}

void gnuFind(benchmark::State& state) {
  const bench::TemporaryFolder folder("/dev/shm");
  bench::makeFolders(folder.path(), static_cast<int>(state.range(0)));
  runCommand(state, "find " + folder.path().string() + " >/dev/null");
}

void catOfTheOutput(benchmark::State& state) {
  const bench::TemporaryFolder folder("/dev/shm");
  const auto listing = (folder.path() / "listing").string();
  {
    Console console(static_cast<int>(state.range(0)), listing.c_str());
    console.run("ls -r /Midi");
  }
  runCommand(state, "cat " + listing + " | cat >/dev/null");
}

// The peak resident memory of the program with its service while it lists everything.
void residentMemory(benchmark::State& state) {
  const bench::TemporaryFolder folder("/tmp");
  const int ports = static_cast<int>(state.range(0));
  ::setenv("EVTSRV_ENDPOINT", ("embedded:" + bench::writeDevice(folder.path(), ports).string()).c_str(), 1);
  const auto script = folder.path() / "script";
  const auto peak = folder.path() / "peak";
  std::ofstream(script) << "ls -r /Midi\n$ grep VmHWM /proc/$PPID/status >" << peak.string() << "\n";
  runCommand(state, FLOWSCOPE_BINARY_DIR "/flowscope -f " + script.string() + " >/dev/null");
  std::string label;
  double kibibytes = 0;
  if (!(std::ifstream(peak) >> label >> kibibytes)) state.SkipWithError("no memory was reported");
  state.counters["node"] = benchmark::Counter(kibibytes * 1024 / bench::nodesOf(ports), benchmark::Counter::kDefaults,
                                              benchmark::Counter::kIs1024);
}

void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK(firstWholeTree)->Name("topology/first ls -r Midi")->Apply(sizes);
BENCHMARK(wholeTree)->Name("topology/ls -r Midi")->Apply(sizes);
BENCHMARK(allGroups)->Name("topology/ls of all groups")->Apply(sizes);
BENCHMARK(oneGroup)->Name("topology/ls of one group")->Apply(sizes);
BENCHMARK(completion)->Name("topology/Tab at a port")->Apply(sizes);
BENCHMARK(startToPrompt)->Name("topology/start to prompt")->Apply(sizes);
BENCHMARK(gnuFind)->Name("topology/GNU find")->Apply(sizes);
BENCHMARK(catOfTheOutput)->Name("topology/cat of the output")->Apply(sizes);
BENCHMARK(residentMemory)->Name("topology/resident memory")->Apply(sizes)->Iterations(1);

}  // namespace
