// What Asio's loop costs: the same relay between two Unix stream sockets on bare epoll and on Asio, in turn. The
// counters hold, for each way to write the relay, the medians of the turns and "ratio", to bare epoll in the same turn.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <deque>
#include <span>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench/peers.h"
#include "bench/stream_sockets.h"
#include "tests/support/scratch_folder.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr std::size_t FrameBytes = 40;
using Stamp = std::int64_t;

Stamp now() { return std::chrono::nanoseconds(Clock::now().time_since_epoch()).count(); }

double percentile(std::vector<double> values, double part) {
  std::ranges::sort(values);
  return values.at(static_cast<std::size_t>(part * static_cast<double>(values.size() - 1)));
}

// What one turn of a relay has measured.
struct Turn {
  double median = 0;     // seconds from the sender's call to the receiver's
  double p99 = 0;        // the same
  double cpu = 0;        // the relay's processor seconds a message
  double perSecond = 0;  // messages
};

// A relay in a process of its own, with a sender and a receiver in this one.
class MeasuredRelay {
 public:
  MeasuredRelay(const std::string& program, std::vector<std::string> mode)
      : relay_(bench::commandOf(program, withPlaces(std::move(mode))), descriptors_),
        sender_(bench::connectTo(in())),
        receiver_(bench::connectTo(out())),
        frames_(receiver_.get()) {}

  // Sends a message whenever the pause has passed; without a pause as fast as possible.
  Turn run(std::size_t count, std::chrono::nanoseconds pause) {
    const double before = bench::cpuSeconds(relay_.id());
    const Stamp start = now();
    std::thread sender([&] {
      for (std::size_t sent = 0; sent < count; ++sent) {
        const Stamp due = start + static_cast<Stamp>(sent) * pause.count();
        if (pause > 0ns) std::this_thread::sleep_until(Clock::time_point(std::chrono::nanoseconds(due)));
        send();
      }
    });
    std::vector<double> took;
    while (took.size() < count) {
      const auto message = frames_.next([] {});
      if (!message || message->size() != FrameBytes - channel::FrameFrontBytes) throw std::runtime_error("no message");
      Stamp sent = 0;
      std::memcpy(&sent, message->data(), sizeof sent);
      took.push_back(static_cast<double>(now() - sent) * 1e-9);
    }
    const double elapsed = static_cast<double>(now() - start) * 1e-9;
    sender.join();
    const auto messages = static_cast<double>(count);
    return {percentile(took, 0.5), percentile(took, 0.99), (bench::cpuSeconds(relay_.id()) - before) / messages,
            messages / elapsed};
  }

 private:
  std::string in() const { return folder_.path() / "in"; }
  std::string out() const { return folder_.path() / "out"; }

  std::vector<std::string> withPlaces(std::vector<std::string> mode) const {
    mode.insert(mode.end(), {in(), out()});
    return mode;
  }

  void send() {
    std::array<std::uint8_t, FrameBytes - channel::FrameFrontBytes> message{};
    const Stamp stamp = now();
    std::memcpy(message.data(), &stamp, sizeof stamp);
    std::vector<std::uint8_t> frame;
    channel::appendFrame(message, frame);
    bench::writeAll(sender_.get(), frame);
  }

  testsupport::ScratchFolder folder_;
  testsupport::ChildDescriptors descriptors_;
  testsupport::Child relay_;
  testsupport::UniqueFd sender_;
  testsupport::UniqueFd receiver_;
  bench::FrameSource frames_;
};

struct Way {
  const char* name;
  const char* program;
  const char* mode;
};

// Epoll first.
constexpr Way Ways[] = {
    {"epoll", "bare_peer", "relay"},
    {"wait", "asio_relay", "wait"},
    {"short", "asio_relay", "short"},
    {"read", "asio_relay", "read"},
};

void compare(benchmark::State& state, int turns, std::size_t count, std::chrono::nanoseconds pause) {
  std::deque<MeasuredRelay> relays;
  for (const Way& way : Ways) relays.emplace_back(way.program, std::vector<std::string>{way.mode});
  for (auto& relay : relays) relay.run(count, pause);
  std::vector<std::vector<Turn>> all(std::size(Ways));
  for (auto _ : state) {
    for (int turn = 0; turn < turns; ++turn) {
      // Each begins a turn as often as the others, so none gains from its place.
      for (std::size_t i = 0; i < all.size(); ++i) {
        const std::size_t way = (i + static_cast<std::size_t>(turn)) % all.size();
        all[way].push_back(relays[way].run(count, pause));
      }
    }
  }
  const auto show = [&](const std::string& what, double scale, double Turn::*value) {
    for (std::size_t way = 0; way < all.size(); ++way) {
      std::vector<double> values;
      std::vector<double> ratios;
      for (std::size_t turn = 0; turn < all[way].size(); ++turn) {
        values.push_back(all[way][turn].*value);
        ratios.push_back(all[way][turn].*value / (all[0][turn].*value));
      }
      const std::string name = Ways[way].name;
      state.counters[what + " " + name] = percentile(values, 0.5) * scale;
      if (way == 0) continue;
      state.counters[what + " " + name + " ratio"] = percentile(ratios, 0.5);
      state.counters[what + " " + name + " ratio from"] = percentile(ratios, 0.1);
      state.counters[what + " " + name + " ratio to"] = percentile(ratios, 0.9);
    }
  };
  if (pause > 0ns) {
    show("median_us", 1e6, &Turn::median);
    show("p99_us", 1e6, &Turn::p99);
  } else {
    show("per_second", 1, &Turn::perSecond);
  }
  show("cpu_us", 1e6, &Turn::cpu);
}

void steady(benchmark::State& state) { compare(state, 200, 100, 1ms); }
BENCHMARK(steady)->Name("relay/1000 messages a second")->Iterations(1)->Unit(benchmark::kMillisecond);

void flood(benchmark::State& state) { compare(state, 100, 20'000, 0ns); }
BENCHMARK(flood)->Name("relay/flood")->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
