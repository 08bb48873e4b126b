// Commands on all ports of one group. The argument is the number of its sources, and of its sinks; "port" is the time
// for one of them, "pair" the time for one pair of a source and a sink. Costs that do not grow quadratically show in
// figures that stay the same from size to size, and in what is printed after the last size.
#include <benchmark/benchmark.h>

#include <string>

#include "bench/console.h"
#include "evtsrv.h"
#include "traffic/traffic_output.h"

namespace {

using bench::Console;

Console consoleOf(const benchmark::State& state) {
  flowscope::trafficOutput().monitorTarget = EvtSrv::DebugPortName;
  return Console(static_cast<int>(state.range(0)), "/dev/null", bench::writeOneGroup);
}

void show(benchmark::State& state, const char* what, double count) {
  state.counters[what] = benchmark::Counter(static_cast<double>(state.iterations()) * count,
                                            benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.SetComplexityN(state.range(0));
}

// The time for line. before and after are not timed: they prepare the device and restore it.
void runLines(benchmark::State& state, const std::string& before, const std::string& line, const std::string& after) {
  Console console = consoleOf(state);
  for (auto _ : state) {
    state.PauseTiming();
    console.run(before.c_str());
    state.ResumeTiming();
    console.run(line.c_str());
    state.PauseTiming();
    console.run(after.c_str());
    state.ResumeTiming();
  }
  show(state, "port", static_cast<double>(state.range(0)));
}

constexpr const char* ConnectAll = "con /Midi/Source/G /Midi/Sink/G";
constexpr const char* DisconnectAll = "dis /Midi/Source/G";
constexpr const char* ToOneSink = "con /Midi/Source/G/* /Midi/Sink/G/GIn1";

void connectGroups(benchmark::State& state) { runLines(state, "", ConnectAll, DisconnectAll); }
void connectToOneSink(benchmark::State& state) { runLines(state, "", ToOneSink, DisconnectAll); }
void disconnectPattern(benchmark::State& state) { runLines(state, ConnectAll, "dis /Midi/Source/G/*", ""); }
void disconnectFromOneSink(benchmark::State& state) { runLines(state, ToOneSink, "dis /Midi/Source/G/*", ""); }
void disconnectNothing(benchmark::State& state) { runLines(state, "", "dis /Midi/Source/G/*", ""); }
void attachPattern(benchmark::State& state) { runLines(state, "", "cat /Midi/Source/G/*", "end"); }
void attachBelow(benchmark::State& state) { runLines(state, "cd /Midi/Source/G", "cat", "end"); }
void detachAll(benchmark::State& state) { runLines(state, "cat /Midi/Source/G/*", "end", ""); }
void listPattern(benchmark::State& state) { runLines(state, "", "ls /Midi/Source/G/*", ""); }
void listConnected(benchmark::State& state) { runLines(state, ConnectAll, "ls /Midi/Source/G/*", DisconnectAll); }

void longPath(benchmark::State& state) {
  std::string path = "cd /Midi/Source/G/";
  for (int step = 0; step < 45'000; ++step) path += "a/";
  runLines(state, "", path + "GOut1", "");
}

// Every source with every sink: here the cost must grow with the number of pairs.
void connectEachPair(benchmark::State& state) {
  Console console = consoleOf(state);
  for (auto _ : state) {
    console.run("con /Midi/Source/G/* /Midi/Sink/G/*");
    state.PauseTiming();
    console.run(DisconnectAll);
    state.ResumeTiming();
  }
  show(state, "pair", static_cast<double>(state.range(0) * state.range(0)));
}

// The same with pairs that cannot be connected: it only prints lines.
void refuseEachPair(benchmark::State& state) {
  Console console = consoleOf(state);
  for (auto _ : state) console.run("con /Midi/Source/G/* /Midi/Source/G/*");
  show(state, "pair", static_cast<double>(state.range(0) * state.range(0)));
}

void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(4000)->Arg(16'000)->Arg(65'535)->Unit(benchmark::kMillisecond)->UseRealTime()->Complexity();
}

void pairs(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(50)->Arg(100)->Arg(200)->Unit(benchmark::kMillisecond)->UseRealTime();
}

void manyPairs(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(250)->Arg(500)->Arg(1000)->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK(connectGroups)->Name("large_group/con G G")->Apply(sizes);
BENCHMARK(connectToOneSink)->Name("large_group/con G* GIn1")->Apply(sizes);
BENCHMARK(disconnectPattern)->Name("large_group/dis G* one to one")->Apply(sizes);
BENCHMARK(disconnectFromOneSink)->Name("large_group/dis G* from GIn1")->Apply(sizes);
BENCHMARK(disconnectNothing)->Name("large_group/dis G* without connections")->Apply(sizes);
BENCHMARK(attachPattern)->Name("large_group/cat G*")->Apply(sizes);
BENCHMARK(attachBelow)->Name("large_group/cat in G")->Apply(sizes);
// The untimed attaching takes a hundred times as long.
BENCHMARK(detachAll)->Name("large_group/end")->Apply(sizes)->Iterations(5);
BENCHMARK(listPattern)->Name("large_group/ls G*")->Apply(sizes);
BENCHMARK(listConnected)->Name("large_group/ls G* with connections")->Apply(sizes);
BENCHMARK(longPath)->Name("large_group/cd G and 45000 names")->Apply(sizes);
BENCHMARK(connectEachPair)->Name("large_group/con G* G*")->Apply(pairs);
BENCHMARK(refuseEachPair)->Name("large_group/con G* G* of sources")->Apply(manyPairs);

}  // namespace
