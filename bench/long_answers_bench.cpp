// Answers that are too long for one message, made and encoded piece by piece: the processor time of the longest piece,
// which is what others wait for, and the whole. The argument is the number of connections, ports or clients.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/host/long_answer.h"
#include "platform/host/session_table.h"
#include "tests/platform/service/device.h"
#include "tests/platform/service/longest.h"

namespace {

class Service {
 public:
  explicit Service(device::Topology topology, std::vector<device::Link> links = {})
      : service_(std::make_unique<service::TestDevice>(std::move(topology), std::move(links), told_), {}, {}) {}

  service::Service& operator*() { return service_; }
  service::Service* operator->() { return &service_; }

 private:
  service::Told told_;
  service::Service service_;
};

template <class Make>
void measure(benchmark::State& state, const Make& make) {
  service::Longest longest;
  std::size_t pieces = 0;
  for (auto _ : state) {
    const std::unique_ptr<host::LongAnswer> answer = make();
    for (bool more = true; more; ++pieces) {
      longest([&] {
        const host::LongAnswer::Piece piece = answer->next();
        benchmark::DoNotOptimize(wire::encode(1, piece.body));
        more = piece.more;
      });
    }
  }
  state.counters["longest_ms"] = std::chrono::duration<double, std::milli>(longest.time()).count();
  state.counters["pieces"] = static_cast<double>(pieces) / static_cast<double>(state.iterations());
}

std::string nameOf(char side, std::uint64_t port) {
  std::string name = side + std::to_string(port);
  return name + std::string(device::MaxNameBytes - name.size(), 'n');
}

// Groups of 16,384 ports a side, all with names as long as they may be.
device::Topology namedPorts(std::int64_t groups) {
  constexpr std::uint16_t Ports = 16'384;
  std::vector<device::Group> all;
  for (std::uint64_t id = 0; id < static_cast<std::uint64_t>(groups); ++id) {
    device::SideOfGroup sources{Ports, "", {}};
    device::SideOfGroup sinks{Ports, "", {}};
    for (std::uint64_t port = id * Ports; port < (id + 1) * Ports; ++port) {
      sources.names.push_back(nameOf('o', port));
      sinks.names.push_back(nameOf('i', port));
    }
    sources.originals = sources.names;
    sinks.originals = sinks.names;
    all.push_back({id, "G" + std::to_string(id), std::move(sources), std::move(sinks), "original"});
  }
  return device::Topology(std::move(all));
}

void listConnections(benchmark::State& state) {
  const auto ends = static_cast<std::uint16_t>(state.range(0));
  std::vector<device::Link> links;
  for (std::uint16_t source = 0; source < ends; ++source) {
    for (std::uint16_t sink = 0; sink < ends; ++sink) links.push_back({0, source, 0, sink});
  }
  Service service(service::evenTopology(1, ends), std::move(links));
  measure(state, [&] { return host::linksAnswer(*service, 1); });
}

void listPorts(benchmark::State& state) {
  Service service(namedPorts(state.range(0)));
  measure(state, [&] { return host::topologyAnswer(*service, 1); });
}

void listOriginals(benchmark::State& state) {
  Service service(namedPorts(state.range(0)));
  measure(state, [&] { return host::originalsAnswer(*service, 1); });
}

void listClients(benchmark::State& state) {
  Service service(service::evenTopology(1, 1));
  host::SessionTable sessions;
  for (std::int64_t client = 1; client <= state.range(0); ++client) {
    const host::ConnectionId connection{static_cast<std::uint64_t>(client)};
    sessions.add(connection, service->addClient())->peer.program = "fifteen letters";
  }
  measure(state, [&] { return host::statsAnswer(*service, sessions, {}); });
}

BENCHMARK(listConnections)->Name("long_answers/connections")->Arg(100)->Arg(1024)->Unit(benchmark::kMillisecond);
BENCHMARK(listPorts)->Name("long_answers/ports")->Arg(1)->Arg(42)->Unit(benchmark::kMillisecond);
BENCHMARK(listOriginals)->Name("long_answers/originals")->Arg(1)->Arg(42)->Unit(benchmark::kMillisecond);
BENCHMARK(listClients)->Name("long_answers/clients")->Arg(1000)->Arg(8000)->Arg(16'384)->Unit(benchmark::kMillisecond);

}  // namespace
