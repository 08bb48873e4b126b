#include "platform/service/service.h"

#include <unordered_map>
#include <utility>

#include "platform/service/patch_graph.h"
#include "platform/service/router.h"
#include "platform/service/tap_queue.h"
#include "platform/service/tap_table.h"

namespace service {

struct Service::State {
  struct Client {
    TapQueue queue;
    std::uint64_t in = 0;
  };

  State(std::unique_ptr<Driver> device, Limits sizes)
      : driver(std::move(device)),
        limits(sizes),
        graph(driver->topology(), driver->initialLinks()),
        router(
            graph, [this](PortId port, const Message& message, Time now) { copyToTaps(port, message, now); },
            [this](PortId sink, const Message& message, Time now) { driver->deliver(sink, message, now); }) {}

  const Topology& topology() const { return driver->topology(); }
  bool knows(ClientId client) const { return clients.contains(client); }

  void copyToTaps(PortId port, const Message& message, Time now) {
    for (const Tap& tap : taps.of(port)) {
      clients.at(tap.client).queue.add(tap.eventPort, port, tap.holderBytes, message, now);
    }
  }

  bool used(PortId port) const { return !taps.of(port).empty() || !graph.peers(port).empty(); }

  // For a port that has just lost a tap or a connection.
  void releaseIfUnused(PortId port, Time now) {
    if (port.side == Side::Source && !used(port)) driver->setUsed(port, false, now);
  }

  std::unique_ptr<Driver> driver;
  Limits limits;
  PatchGraph graph;
  TapTable taps;
  std::unordered_map<ClientId, Client> clients;
  Router router;
  std::vector<GraphChange> changes;
  Counts past;           // of clients that have left
  std::uint64_t in = 0;  // of everybody, and the device
  std::uint32_t lastClient = 0;
};

Service::Service(std::unique_ptr<Driver> driver, Limits limits, Time now)
    : state_(std::make_unique<State>(std::move(driver), limits)) {
  state_->driver->start(*this, now);
  for (const Link& link : state_->graph.links()) {
    const bool firstOfSource = state_->graph.peers(link.source()).begin()->second == link.sink();
    if (firstOfSource) state_->driver->setUsed(link.source(), true, now);
  }
}

Service::~Service() = default;

ClientId Service::addClient() {
  const ClientId client{++state_->lastClient};
  state_->clients.emplace(client, State::Client{.queue = TapQueue(state_->limits.queueBytes)});
  return client;
}

void Service::removeClient(ClientId client, Time now) {
  const ClientCounts counted = counts(client);
  state_->past.out += counted.out;
  state_->past.lost += counted.lost;
  const auto ended = state_->taps.removeClient(client);
  state_->clients.erase(client);
  for (const PortId port : ended) state_->releaseIfUnused(port, now);
}

wire::Status Service::tap(ClientId client, EventPortId port, std::string_view name, std::uint32_t holderBytes,
                          Time now) {
  if (!state_->knows(client)) return wire::Status::NoSession;
  const auto devicePort = state_->topology().port(name);
  if (!devicePort) return wire::Status::NotFound;
  const bool wasUsed = state_->used(*devicePort);
  state_->taps.add(client, port, *devicePort, holderBytes);
  if (!wasUsed && devicePort->side == Side::Source) state_->driver->setUsed(*devicePort, true, now);
  return wire::Status::Ok;
}

wire::Status Service::untap(ClientId client, EventPortId port, std::string_view name, Time now) {
  if (!state_->knows(client)) return wire::Status::NoSession;
  const auto devicePort = state_->topology().port(name);
  if (!devicePort || !state_->taps.remove(client, port, *devicePort)) return wire::Status::Nothing;
  state_->releaseIfUnused(*devicePort, now);
  return wire::Status::Ok;
}

void Service::untapAll(ClientId client, EventPortId port, Time now) {
  for (const PortId ended : state_->taps.removeAll(client, port)) state_->releaseIfUnused(ended, now);
}

wire::Status Service::send(ClientId client, EventPortId port, const Message& message, Time now) {
  const auto sender = state_->clients.find(client);
  if (sender == state_->clients.end()) return wire::Status::NoSession;
  if (message.bytes.empty()) return wire::Status::BadRequest;
  ++sender->second.in;
  ++state_->in;
  state_->router.pass(state_->taps.tappedBy(client, port), message, now);
  return wire::Status::Ok;
}

wire::Status Service::inject(ClientId client, std::string_view name, const Message& message, Time now) {
  const auto sender = state_->clients.find(client);
  if (sender == state_->clients.end()) return wire::Status::NoSession;
  const auto port = state_->topology().port(name);
  if (!port) return wire::Status::NotFound;
  if (message.bytes.empty()) return wire::Status::BadRequest;
  ++sender->second.in;
  ++state_->in;
  state_->router.pass({&*port, 1}, message, now);
  return wire::Status::Ok;
}

wire::Status Service::connect(const Link& link, Time now) {
  const std::uint64_t before = state_->graph.version();
  const bool wasUsed = state_->used(link.source());
  const wire::Status status = state_->graph.connect(link);
  if (state_->graph.version() == before) return status;
  state_->changes.push_back({state_->graph.version(), true, link});
  if (!wasUsed) state_->driver->setUsed(link.source(), true, now);
  return status;
}

wire::Status Service::disconnect(const Link& link, Time now) {
  const wire::Status status = state_->graph.disconnect(link);
  if (status != wire::Status::Ok) return status;
  state_->changes.push_back({state_->graph.version(), false, link});
  state_->releaseIfUnused(link.source(), now);
  return status;
}

std::vector<Link> Service::links() const { return state_->graph.links(); }

std::uint64_t Service::graphVersion() const { return state_->graph.version(); }

std::vector<GraphChange> Service::takeGraphChanges() { return std::exchange(state_->changes, {}); }

const Topology& Service::topology() const { return state_->topology(); }

std::size_t Service::takeEvents(ClientId client, std::size_t maxBytes, std::vector<std::uint8_t>& out) {
  const auto found = state_->clients.find(client);
  return found == state_->clients.end() ? 0 : found->second.queue.take(maxBytes, state_->topology(), out);
}

bool Service::hasEvents(ClientId client) const {
  const auto found = state_->clients.find(client);
  return found != state_->clients.end() && !found->second.queue.empty();
}

ClientCounts Service::counts(ClientId client) const {
  const auto found = state_->clients.find(client);
  if (found == state_->clients.end()) return {};
  const auto& [queue, in] = found->second;
  return {state_->taps.count(client), in, queue.accepted(), queue.lost(), queue.bytes()};
}

Counts Service::counts() const {
  Counts all = state_->past;
  all.in = state_->in;
  for (const auto& [id, client] : state_->clients) {
    all.out += client.queue.accepted();
    all.lost += client.queue.lost();
  }
  return all;
}

std::optional<Time> Service::advance(Time now) { return state_->driver->advance(now); }

void Service::emitted(PortId source, const Message& message, Time now) {
  // A record without a message would be taken for the end of the data by who reads it.
  if (source.side != Side::Source || message.bytes.empty()) return;
  ++state_->in;
  state_->router.emitted(source, message, now);
}

}  // namespace service
