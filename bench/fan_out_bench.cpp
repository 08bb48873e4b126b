// One streamd whose messages go to 1, 8 and 64 clients, each of which watches all ports: how many messages pass a
// second, and what a message and a copy of it cost streamd. The counters: "copy_us" is the processor time of streamd
// for each client and message, "ratio" that to the run with one client (which must run, too), "lost" the copies that
// did not arrive; any that streamd does not count as lost is an error.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <exception>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "bench/peers.h"
#include "platform/channel/connector.h"
#include "platform/channel/control_channel.h"
#include "platform/channel/event_channel.h"
#include "platform/wire/events.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/stream_daemon.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int Ports = 16;

std::string portName(int port) { return "KeysOut" + std::to_string(port + 1); }

channel::Deadline soon() { return channel::Deadline(channel::AnswerTime); }

void require(bool met, const char* what) {
  if (!met) throw std::runtime_error(what);
}

// A client on a thread of its own, which watches all ports and counts what it gets.
class Watcher {
 public:
  explicit Watcher(const channel::Connector& connector) : control_(connector), events_(greeted(connector)) {
    require(events_.open(soon()), "no events");
    for (int port = 0; port < Ports; ++port) {
      const auto result = control_.ask<wire::Result>(wire::Tap{control_.session(), 1, HolderBytes, portName(port)});
      require(result && result->status == device::Status::Ok, "no tap");
    }
    thread_ = std::thread([this] { receive(); });
  }
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;
  ~Watcher() {
    stopping_ = true;
    thread_.join();
  }

  std::uint64_t received() const { return received_; }

 private:
  static constexpr std::uint32_t HolderBytes = 64U << 10U;

  channel::EventChannel greeted(const channel::Connector& connector) {
    require(control_.greet(soon()), "no session");
    return {connector, control_.welcome(), soon()};
  }

  void receive() {
    const auto take = [this](std::uint32_t, std::string_view, std::span<const std::uint8_t> event) {
      const auto header = wire::readEventHeader(event);
      wire::RecordReader records(event.subspan(wire::EventHeaderBytes), header && header->bigEndian);
      while (records.next()) ++received_;
      return true;
    };
    while (!stopping_ && !events_.lost()) events_.receive(take, channel::Deadline(100ms));
  }

  channel::ControlChannel control_;
  channel::EventChannel events_;
  std::atomic<std::uint64_t> received_{0};
  std::atomic<bool> stopping_{false};
  std::thread thread_;
};

class FanOut {
 public:
  explicit FanOut(std::int64_t clients) {
    require(control_.greet(soon()), "no session");
    for (std::int64_t i = 0; i < clients; ++i) watchers_.push_back(std::make_unique<Watcher>(connector_));
  }

  // Sends messages of all ports in turn, in frames of the given number, the frames with a pause between them. Waits
  // while the clients have not got what a small part of their queues holds. Returns when all have arrived or are lost.
  void send(std::uint64_t count, std::uint64_t atOnce, std::chrono::nanoseconds pause) {
    constexpr std::uint64_t MostOnTheWay = 20'000;
    const std::uint64_t end = sent_ + count;
    auto next = Clock::now();
    for (int port = 0; sent_ < end; port = (port + 1) % Ports) {
      if (pause > 0ns) std::this_thread::sleep_until(next += pause);
      require(control_.inject(portName(port), std::vector<wire::InjectItem>(atOnce, {0, {0x90, 0x3C, 0x40}})),
              "not injected");
      sent_ += atOnce;
      waitWhileMissing(MostOnTheWay * watchers_.size());
    }
    waitWhileMissing(0);
  }

  // Copies, as far as they have been looked for.
  std::uint64_t lost() const { return lost_; }

  double cpuSeconds() const { return bench::cpuSeconds(daemon_.id()); }

 private:
  static std::string written(const testsupport::ScratchFolder& folder) {
    folder.write("device.toml", "[[group]]\nid = 0\nname = \"Keys\"\nsources = " + std::to_string(Ports) + "\n");
    return folder.path() / "device.toml";
  }

  // Waits while more copies than this are neither there nor lost.
  void waitWhileMissing(std::uint64_t most) {
    const auto start = Clock::now();
    while (missing() > most) {
      std::this_thread::sleep_for(100us);
      const auto waited = Clock::now() - start;
      require(waited < bench::Patience, "copies are missing that streamd does not count as lost");
      if (waited > 100ms) countLost();
    }
  }

  std::uint64_t missing() const {
    std::uint64_t known = lost_;
    for (const auto& watcher : watchers_) known += watcher->received();
    return sent_ * watchers_.size() - known;
  }

  void countLost() {
    const auto stats = control_.ask<wire::Stats>(wire::AskStats{control_.session()});
    require(stats.has_value(), "no statistics");
    lost_ = stats->lost;
  }

  testsupport::ScratchFolder folder_;
  testsupport::StreamDaemon daemon_{FLOWSCOPE_BINARY_DIR "/streamd", {"--device", written(folder_)}};
  channel::Connector connector_ = channel::Connector::toLocalSocket(daemon_.socket());
  channel::ControlChannel control_{connector_};
  std::vector<std::unique_ptr<Watcher>> watchers_;
  std::uint64_t sent_ = 0;
  std::uint64_t lost_ = 0;
};

// The processor time for a copy in the run with one client, which comes first.
struct Baseline {
  double copy = 0;
};

void measure(benchmark::State& state, Baseline& one, std::uint64_t messages, std::uint64_t atOnce,
             std::chrono::nanoseconds pause) try {
  const auto clients = static_cast<double>(state.range(0));
  FanOut fanOut(state.range(0));
  fanOut.send(messages / 10, atOnce, pause);
  for (auto _ : state) {
    const double before = fanOut.cpuSeconds();
    const auto start = Clock::now();
    fanOut.send(messages, atOnce, pause);
    const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    const double message = (fanOut.cpuSeconds() - before) / static_cast<double>(messages);
    if (state.range(0) == 1) one.copy = message;
    state.counters["messages_per_second"] = static_cast<double>(messages) / elapsed;
    state.counters["message_us"] = message * 1e6;
    state.counters["copy_us"] = message / clients * 1e6;
    if (one.copy > 0) state.counters["ratio"] = message / clients / one.copy;
    state.counters["lost"] = static_cast<double>(fanOut.lost());
  }
} catch (const std::exception& error) {
  // Not further: nothing would end streamd.
  state.SkipWithError(error.what());
}

// As fast as the clients take them.
void flood(benchmark::State& state) {
  constexpr std::uint64_t Copies = 3'200'000;
  constexpr std::uint64_t AtOnce = 50;
  static Baseline one;
  measure(state, one, Copies / static_cast<std::uint64_t>(state.range(0)), AtOnce, 0ns);
}

// Each message alone, a thousand a second.
void paced(benchmark::State& state) {
  constexpr std::uint64_t Messages = 5'000;
  static Baseline one;
  measure(state, one, Messages, 1, 1ms);
}

BENCHMARK(flood)
    ->Name("fan_out/flood")
    ->ArgName("clients")
    ->Arg(1)
    ->Arg(8)
    ->Arg(64)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(paced)
    ->Name("fan_out/1000 a second")
    ->ArgName("clients")
    ->Arg(1)
    ->Arg(8)
    ->Arg(64)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace
