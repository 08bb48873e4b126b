// Listing, patterns and completion on devices of 1,000 to 100,000 ports, beside GNU find over folders of the same names
// and cat of the same output. The argument is the number of ports; "port" is the time for one of them.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "bench/console.h"
#include "bench/device_of_ports.h"

namespace {

using bench::Console;

void showPerPort(benchmark::State& state) {
  state.counters["port"] = benchmark::Counter(static_cast<double>(state.iterations() * state.range(0)),
                                              benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void runLines(benchmark::State& state, const char* line) {
  Console console(static_cast<int>(state.range(0)), "/dev/null");
  for (auto _ : state) console.run(line);
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

void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK(wholeTree)->Name("topology/ls -r Midi")->Apply(sizes);
BENCHMARK(allGroups)->Name("topology/ls of all groups")->Apply(sizes);
BENCHMARK(oneGroup)->Name("topology/ls of one group")->Apply(sizes);
BENCHMARK(completion)->Name("topology/Tab at a port")->Apply(sizes);
BENCHMARK(startToPrompt)->Name("topology/start to prompt")->Apply(sizes);
BENCHMARK(gnuFind)->Name("topology/GNU find")->Apply(sizes);
BENCHMARK(catOfTheOutput)->Name("topology/cat of the output")->Apply(sizes);

}  // namespace
