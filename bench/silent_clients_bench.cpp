// What thousands of silent clients cost another one: two services in one run, one of them with silent clients. Each
// silent client has its three connections and a tap of a port that nothing passes. The counters are the values beside
// them, "quiet" those without them, and "ratio", the first to the second (smaller is better).
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/peers.h"
#include "platform/channel/connector.h"
#include "platform/channel/control_channel.h"
#include "platform/channel/event_channel.h"
#include "platform/channel/graph_channel.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/stream_daemon.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr std::uint32_t Holder = 1004;

double percentileOf(std::vector<double> values, double part) {
  std::ranges::sort(values);
  return values.at(static_cast<std::size_t>(part * static_cast<double>(values.size() - 1)));
}

channel::Deadline soon() { return channel::Deadline(channel::AnswerTime); }

void require(bool met, const char* what) {
  if (!met) throw std::runtime_error(what);
}

// A client with all three channels and one tap.
class Client {
 public:
  Client(const channel::Connector& connector, const std::string& port)
      : control_(connector), events_(greeted(connector)), graph_(connector, control_.welcome(), soon()) {
    require(events_.open(soon()) && graph_.open(soon()) == channel::Opening::Opened, "no channel");
    const auto result = control_.ask<wire::Result>(wire::Tap{control_.session(), 1, Holder, port});
    require(result && result->status == device::Status::Ok, "no tap");
  }

  // The time from the inject call to the event. The injector is this client itself.
  double latency(const std::string& port) {
    const auto start = Clock::now();
    require(control_.inject(port, {{0, {0x90, 0x3C, 0x40}}}), "not injected");
    const auto take = [](std::uint32_t, std::string_view, std::span<const std::uint8_t>) { return true; };
    require(events_.receive(take, channel::Deadline(2s)), "no event");
    return std::chrono::duration<double>(Clock::now() - start).count();
  }

 private:
  channel::EventChannel greeted(const channel::Connector& connector) {
    require(control_.greet(soon()), "no session");
    return {connector, control_.welcome(), soon()};
  }

  channel::ControlChannel control_;
  channel::EventChannel events_;
  channel::GraphChannel graph_;
};

class BusyService {
 public:
  explicit BusyService(std::int64_t silentClients) {
    for (std::int64_t i = 0; i < silentClients; ++i)
      silent_.push_back(std::make_unique<Client>(connector_, "KeysOut2"));
    client_ = std::make_unique<Client>(connector_, "KeysOut1");
  }

  double latency() { return client_->latency("KeysOut1"); }
  double cpuSeconds() const { return bench::cpuSeconds(daemon_.id()); }

 private:
  static std::string written(const testsupport::ScratchFolder& folder) {
    folder.write("device.toml", "[[group]]\nid = 0\nname = \"Keys\"\nsources = 2\n");
    return folder.path() / "device.toml";
  }

  testsupport::ScratchFolder folder_;
  testsupport::StreamDaemon daemon_{FLOWSCOPE_BINARY_DIR "/streamd", {"--device", written(folder_)}};
  channel::Connector connector_ = channel::Connector::toLocalSocket(daemon_.socket());
  std::vector<std::unique_ptr<Client>> silent_;
  std::unique_ptr<Client> client_;
};

// Three descriptors for each silent client, here and in streamd.
bool raiseDescriptors(std::int64_t clients) {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  const auto needed = static_cast<rlim_t>(3 * clients + 500);
  if (limit.rlim_max != RLIM_INFINITY && limit.rlim_max < needed) return false;
  limit.rlim_cur = std::max(limit.rlim_cur, needed);
  return setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

void injectBesideSilentClients(benchmark::State& state) {
  constexpr int Samples = 20'000;
  if (!raiseDescriptors(state.range(0))) return state.SkipWithError("too few descriptors");
  BusyService quiet(0);
  BusyService crowded(state.range(0));
  for (int warm = 0; warm < 500; ++warm) {
    quiet.latency();
    crowded.latency();
  }
  std::vector<double> quietTook;
  std::vector<double> crowdedTook;
  const double quietBefore = quiet.cpuSeconds();
  const double crowdedBefore = crowded.cpuSeconds();
  for (auto _ : state) {
    for (int sample = 0; sample < Samples; ++sample) {
      quietTook.push_back(quiet.latency());
      crowdedTook.push_back(crowded.latency());
    }
  }
  const double messages = static_cast<double>(quietTook.size());
  const double quietCpu = (quiet.cpuSeconds() - quietBefore) / messages;
  const double cpu = (crowded.cpuSeconds() - crowdedBefore) / messages;
  state.counters["median_us"] = percentileOf(crowdedTook, 0.5) * 1e6;
  state.counters["quiet_median_us"] = percentileOf(quietTook, 0.5) * 1e6;
  state.counters["p99_us"] = percentileOf(crowdedTook, 0.99) * 1e6;
  state.counters["quiet_p99_us"] = percentileOf(quietTook, 0.99) * 1e6;
  state.counters["cpu_us"] = cpu * 1e6;
  state.counters["quiet_cpu_us"] = quietCpu * 1e6;
  state.counters["ratio_median"] = percentileOf(crowdedTook, 0.5) / percentileOf(quietTook, 0.5);
  state.counters["ratio_cpu"] = cpu / quietCpu;
}
BENCHMARK(injectBesideSilentClients)
    ->Name("silent/inject to event")
    ->ArgName("clients")
    ->Arg(0)
    ->Arg(6000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace
