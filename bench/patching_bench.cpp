// Connecting and disconnecting many ports, pair by pair, through the library and its service. The argument is the
// number of pairs; "pair" is the time for one of them.
#include <benchmark/benchmark.h>

#include "bench/console.h"

namespace {

using bench::Console;

constexpr const char* Connect = "con /Midi/Source /Midi/Sink";
constexpr const char* Disconnect = "dis /Midi/Source";

// The time for line; undo then restores the state before it.
void runPairs(benchmark::State& state, const char* line, const char* undo) {
  Console console(static_cast<int>(2 * state.range(0)), "/dev/null");
  // The device starts with connections of its own.
  console.run(Disconnect);
  if (line != Connect) console.run(undo);
  for (auto _ : state) {
    console.run(line);
    state.PauseTiming();
    console.run(undo);
    state.ResumeTiming();
  }
  state.counters["pair"] = benchmark::Counter(static_cast<double>(state.iterations() * state.range(0)),
                                              benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void connectPairs(benchmark::State& state) { runPairs(state, Connect, Disconnect); }
void disconnectPairs(benchmark::State& state) { runPairs(state, Disconnect, Connect); }

void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(100)->Arg(10000)->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK(connectPairs)->Name("patching/con")->Apply(sizes);
BENCHMARK(disconnectPairs)->Name("patching/dis")->Apply(sizes);

}  // namespace
