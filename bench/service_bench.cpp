// A console on streamd, compared with bare programs on the same hops. Each benchmark measures both in turn; the
// counters are the measured values and "ratio", ours to the bare one (latency and start: smaller is better; throughput:
// larger).
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "bench/peers.h"
#include "bench/stream_sockets.h"
#include "platform/channel/connector.h"
#include "platform/channel/control_channel.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/stream_daemon.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr const char* Device = "[[group]]\nid = 0\nname = \"Keys\"\nsources = 1\n";
constexpr const char* Port = "KeysOut1";

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

double percentile(std::vector<double> values, double part) {
  std::ranges::sort(values);
  return values.at(static_cast<std::size_t>(part * static_cast<double>(values.size() - 1)));
}

// The service with a silent device, and a client that injects messages.
class Service {
 public:
  Service() { control_.greet(channel::Deadline(channel::AnswerTime)); }

  std::string endpoint() const { return daemon_.endpoint(); }
  pid_t process() const { return daemon_.id(); }

  void inject(std::vector<wire::InjectItem> items) { control_.inject(Port, std::move(items)); }

  void waitForTaps(std::uint32_t count) {
    for (;;) {
      const auto stats = control_.ask<wire::Stats>(wire::AskStats{control_.session()});
      std::uint32_t taps = 0;
      for (const auto& client : stats.value().clients) taps += client.taps;
      if (taps >= count) return;
      std::this_thread::sleep_for(1ms);
    }
  }

 private:
  static std::string written(const testsupport::ScratchFolder& folder) {
    folder.write("device.toml", Device);
    return folder.path() / "device.toml";
  }

  testsupport::ScratchFolder folder_;
  testsupport::StreamDaemon daemon_{FLOWSCOPE_BINARY_DIR "/streamd",
                                    {"--device", written(folder_), "--queue-bytes", "1073741824"}};
  channel::Connector connector_ = channel::Connector::toLocalSocket(daemon_.socket());
  channel::ControlChannel control_{connector_};
};

// A relay, and a sender that sends through it.
class BareRelay {
 public:
  std::string in() const { return folder_.path() / "in"; }
  std::string out() const { return folder_.path() / "out"; }
  pid_t process() const { return relay_.id(); }

  void send(const std::vector<std::uint8_t>& bytes) {
    frame_.clear();
    channel::appendFrame(bytes, frame_);
    bench::writeAll(sender_.get(), frame_);
  }

 private:
  testsupport::ScratchFolder folder_;
  testsupport::ChildDescriptors descriptors_;
  testsupport::Child relay_{bench::commandOf("bare_peer", {"relay", in(), out()}), descriptors_};
  testsupport::UniqueFd sender_ = bench::connectTo(in());
  std::vector<std::uint8_t> frame_;
};

const std::vector<std::uint8_t> Note{0x90, 0x3C, 0x40};

// The time from the send call to the line on the terminal.
template <class Send>
double latency(testsupport::PseudoTerminal& terminal, Send send) {
  const std::size_t before = terminal.output().size();
  const auto start = Clock::now();
  send();
  bench::readUntil(terminal, "\n", before);
  return secondsSince(start);
}

// Compares what reads on this terminal with the bare relay and its printer.
void compareLatency(benchmark::State& state, Service& service, testsupport::PseudoTerminal& console) {
  constexpr int Samples = 3000;
  BareRelay relay;
  testsupport::PseudoTerminal printer(bench::commandOf("bare_peer", {"print", relay.out()}), {});
  const auto ours = [&] { service.inject({{0, Note}}); };
  const auto bare = [&] { relay.send(Note); };
  for (int warm = 0; warm < 100; ++warm) {
    latency(console, ours);
    latency(printer, bare);
  }
  const auto cpu = [&] {
    return std::array{bench::cpuSeconds(service.process()), bench::cpuSeconds(console.id()),
                      bench::cpuSeconds(relay.process()), bench::cpuSeconds(printer.id())};
  };
  std::vector<double> oursTook;
  std::vector<double> bareTook;
  const auto cpuBefore = cpu();
  for (auto _ : state) {
    for (int sample = 0; sample < Samples; ++sample) {
      oursTook.push_back(latency(console, ours));
      bareTook.push_back(latency(printer, bare));
      std::this_thread::sleep_for(200us);
    }
  }
  auto used = cpu();
  for (std::size_t i = 0; i < used.size(); ++i) {
    used[i] = (used[i] - cpuBefore[i]) / static_cast<double>(oursTook.size()) * 1e6;
  }
  state.counters["median_us"] = percentile(oursTook, 0.5) * 1e6;
  state.counters["bare_median_us"] = percentile(bareTook, 0.5) * 1e6;
  state.counters["p99_us"] = percentile(oursTook, 0.99) * 1e6;
  state.counters["bare_p99_us"] = percentile(bareTook, 0.99) * 1e6;
  state.counters["ratio_median"] = percentile(oursTook, 0.5) / percentile(bareTook, 0.5);
  state.counters["ratio_p99"] = percentile(oursTook, 0.99) / percentile(bareTook, 0.99);
  state.counters["streamd_cpu_us"] = used[0];
  state.counters["reader_cpu_us"] = used[1];
  state.counters["bare_relay_cpu_us"] = used[2];
  state.counters["bare_reader_cpu_us"] = used[3];
}

void injectToLine(benchmark::State& state) {
  Service service;
  testsupport::PseudoTerminal console(bench::commandOf("flowscope", {}, service.endpoint()), {});
  const std::size_t prompt = bench::readUntil(console, "$ ");
  console.type("cat /Midi/Source/Keys/KeysOut1\r", testsupport::Deadline(bench::Patience));
  service.waitForTaps(1);
  bench::readUntil(console, "$ ", prompt);
  compareLatency(state, service, console);
}
BENCHMARK(injectToLine)->Name("service/inject to line on terminal")->Iterations(1)->Unit(benchmark::kMillisecond);

void injectToLineOfWatch(benchmark::State& state) {
  Service service;
  testsupport::PseudoTerminal watch(bench::commandOf("streamctl", {"--endpoint", service.endpoint(), "watch", Port}),
                                    {});
  service.waitForTaps(1);
  compareLatency(state, service, watch);
}
BENCHMARK(injectToLineOfWatch)->Name("service/inject to line of watch")->Iterations(1)->Unit(benchmark::kMillisecond);

void injectToWatch(benchmark::State& state) {
  constexpr std::size_t Messages = 1'000'000;
  constexpr std::size_t AtOnce = 200;
  Service service;
  bench::PipedChild watch(bench::commandOf("streamctl", {"--endpoint", service.endpoint(), "watch", Port}));
  service.waitForTaps(1);
  BareRelay relay;
  bench::PipedChild printer(bench::commandOf("bare_peer", {"print", relay.out()}));
  relay.send(Note);
  printer.readLines(1);

  double ours = 0;
  double bare = 0;
  for (auto _ : state) {
    auto start = Clock::now();
    std::thread injector([&] {
      for (std::size_t sent = 0; sent < Messages; sent += AtOnce) {
        service.inject(std::vector<wire::InjectItem>(AtOnce, {0, Note}));
      }
    });
    watch.readLines(Messages);
    ours = Messages / secondsSince(start);
    injector.join();

    start = Clock::now();
    std::thread sender([&] {
      for (std::size_t sent = 0; sent < Messages; ++sent) relay.send(Note);
    });
    printer.readLines(Messages);
    bare = Messages / secondsSince(start);
    sender.join();
  }
  state.counters["messages_per_second"] = ours;
  state.counters["bare_per_second"] = bare;
  state.counters["ratio"] = ours / bare;
}
BENCHMARK(injectToWatch)->Name("service/inject to watch")->Iterations(1)->Unit(benchmark::kMillisecond);

// The processor time of all processes of this one that have ended, in seconds.
double endedProcessesSeconds() {
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// What starts of one program took, in seconds.
struct Starts {
  std::vector<double> time;
  std::vector<double> processor;  // user and system

  // start returns the time until the program was there, and has reaped it by then.
  template <class Start>
  void add(Start start) {
    const double before = endedProcessesSeconds();
    time.push_back(start());
    processor.push_back(endedProcessesSeconds() - before);
  }
};

// The time from the start of a program on a terminal to its prompt.
double timeToPrompt(const testsupport::Command& command, std::string_view prompt) {
  const auto start = Clock::now();
  testsupport::PseudoTerminal terminal(command, {});
  bench::readUntil(terminal, prompt);
  return secondsSince(start);
}

double timeToEnd(const testsupport::Command& command) {
  const auto start = Clock::now();
  testsupport::PseudoTerminal terminal(command, {}, testsupport::PseudoTerminal::Input::Pipe);
  terminal.closeInput();
  terminal.waitForExit(testsupport::Deadline(bench::Patience));
  return secondsSince(start);
}

void showStart(benchmark::State& state, const Starts& ours, const Starts& bare) {
  state.counters["median_ms"] = percentile(ours.time, 0.5) * 1e3;
  state.counters["bare_median_ms"] = percentile(bare.time, 0.5) * 1e3;
  state.counters["ratio"] = percentile(ours.time, 0.5) / percentile(bare.time, 0.5);
  state.counters["cpu_ms"] = percentile(ours.processor, 0.5) * 1e3;
  state.counters["bare_cpu_ms"] = percentile(bare.processor, 0.5) * 1e3;
  state.counters["ratio_cpu"] = percentile(ours.processor, 0.5) / percentile(bare.processor, 0.5);
}

// The benchmark's argument: 1 with a streamd, 0 with the service embedded.
std::string endpointFor(const benchmark::State& state, const Service& service) {
  return state.range(0) == 1 ? service.endpoint() : "embedded:";
}

void startToPrompt(benchmark::State& state) {
  const Service service;
  const auto console = bench::commandOf("flowscope", {}, endpointFor(state, service));
  Starts ours;
  Starts bare;
  for (auto _ : state) {
    ours.add([&] { return timeToPrompt(console, "$ "); });
    bare.add([] { return timeToPrompt(bench::commandOf("bare_peer", {"start"}), "> "); });
  }
  showStart(state, ours, bare);
}
BENCHMARK(startToPrompt)
    ->Name("service/start to first prompt")
    ->ArgName("streamd")
    ->Arg(0)
    ->Arg(1)
    ->Iterations(50)
    ->Unit(benchmark::kMillisecond);

void oneCommand(benchmark::State& state) {
  const Service service;
  const auto console = bench::commandOf("flowscope", {"-c", "pwd"}, endpointFor(state, service));
  Starts ours;
  Starts bare;
  for (auto _ : state) {
    ours.add([&] { return timeToEnd(console); });
    bare.add([] { return timeToEnd(bench::commandOf("bare_peer", {"start"})); });
  }
  showStart(state, ours, bare);
}
BENCHMARK(oneCommand)
    ->Name("service/-c pwd")
    ->ArgName("streamd")
    ->Arg(0)
    ->Arg(1)
    ->Iterations(50)
    ->Unit(benchmark::kMillisecond);

void idle(benchmark::State& state) {
  constexpr auto Quiet = 5s;
  const Service service;
  testsupport::PseudoTerminal console(bench::commandOf("flowscope", {}, service.endpoint()), {});
  bench::readUntil(console, "$ ");
  for (auto _ : state) {
    const double before = bench::cpuSeconds(console.id());
    std::this_thread::sleep_for(Quiet);
    state.counters["console_cpu_percent"] =
        100 * (bench::cpuSeconds(console.id()) - before) / std::chrono::duration<double>(Quiet).count();
  }
  state.counters["console_MiB"] = bench::residentMiB(console.id());
  state.counters["streamd_MiB"] = bench::residentMiB(service.process());
}
BENCHMARK(idle)->Name("service/idle console")->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
