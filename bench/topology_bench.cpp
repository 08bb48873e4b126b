// Listing, patterns and completion on devices of 1,000 to 100,000 ports, beside GNU find over folders of the same names
// and cat of the same output. The argument is the number of ports; "port" is the time for one of them.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>

#include "bench/device_of_ports.h"
#include "core/flowscope_shell.h"
#include "core/line_executor.h"
#include "core/shell_io.h"

namespace {

class NoCommands : public flowscope::SystemCommands {
 public:
  void run(const std::string& /*line*/) override {}
};

class NoKeys : public flowscope::KeySource {
 public:
  int readByte() override { return flowscope::EndOfInput; }
};

// An interactive shell on a device of so many ports, writing to a file.
class Console {
 public:
  Console(int ports, const char* output) : folder_("/tmp"), out_(std::fopen(output, "w")) {
    const auto device = bench::writeDevice(folder_.path(), ports);
    ::setenv("EVTSRV_ENDPOINT", ("embedded:" + device.string()).c_str(), 1);
    manager_ = std::make_unique<EvtSrv::EventPortManager>(EvtSrv::ConBehave_Void, true);
    io_ = std::make_unique<flowscope::ShellIo>(flowscope::ShellIo{out_, size_, keys_, system_});
    shell_ = std::make_unique<flowscope::FlowScope>(*manager_, false, *io_);
    shell_->init(*manager_);
  }
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;
  ~Console() {
    shell_.reset();
    manager_.reset();
    std::fclose(out_);
  }

  flowscope::FlowScope& shell() { return *shell_; }

  void run(const char* line) {
    flowscope::runCommands(*shell_, line);
    std::fflush(out_);
  }

 private:
  bench::TemporaryFolder folder_;
  std::FILE* out_;
  flowscope::DescriptorTerminalSize size_;
  NoKeys keys_;
  NoCommands system_;
  std::unique_ptr<EvtSrv::EventPortManager> manager_;
  std::unique_ptr<flowscope::ShellIo> io_;
  std::unique_ptr<flowscope::FlowScope> shell_;
};

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
