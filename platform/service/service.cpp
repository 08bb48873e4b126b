#include "platform/service/service.h"

#include <algorithm>
#include <limits>
#include <set>
#include <span>
#include <utility>

#include "platform/service/client_table.h"
#include "platform/service/device_requests.h"
#include "platform/service/patch_graph.h"
#include "platform/service/router.h"
#include "platform/service/source_use.h"
#include "platform/service/tap_table.h"

namespace service {

namespace {

// How much is done at once of what may be any amount: about a millisecond each, without what a driver needs.
constexpr std::size_t TapsAtOnce = 2000;
constexpr std::size_t MemoryAtOnce = 1U << 20U;
constexpr std::size_t ChangesAtOnce = 500;
constexpr std::size_t RefusedAtOnce = 16;  // each may have many taps

}  // namespace

struct Service::State {
  State(std::unique_ptr<device::Driver> device, QueueLimits sizes, TableLimits tableLimits)
      : memory(sizes.memory),
        driver(std::move(device)),
        limits(tableLimits),
        graph(driver->topology()),
        taps(memory, [this](ClientId client) { return clients.user(client); }),
        use(*driver, graph, taps),
        requests(*driver, taps, use,
                 {.isCarried =
                      [this](const device::Link& link) { return graph.carrier(link) == PatchGraph::Carrier::Service; },
                  .disconnect = [this](const device::Link& link) { disconnect(link); }}),
        clients(sizes.queueBytes, &memory),
        router(
            graph,
            [this](device::PortId port, const device::Message& message, device::Time now) {
              copyToTaps(port, message, now);
            },
            [this](device::PortId sink, const device::Message& message, device::Time now) {
              if (driver->deliver(sink, message, now) == device::Delivery::Unsendable) countUnsendable();
            }) {}

  const device::Topology& topology() const { return driver->topology(); }

  void copyToTaps(device::PortId port, const device::Message& message, device::Time now) {
    taps.forEach(port, [&](const Tap& tap, const std::string& name) {
      clients.addMessage(tap.client, tap.eventPort, port, name, tap.holderBytes, message, now);
    });
  }

  // Passes a message of a client through these ports.
  void pass(ClientId client, std::span<const device::PortId> ports, const device::Message& message, device::Time now) {
    clients.countIn(client);
    ++in;
    sender = client;
    router.pass(ports, message, now);
    sender.reset();
  }

  // Once for each message, which may reach several sinks.
  void countUnsendable() {
    if (std::exchange(unsendableTrip, router.trip()) == router.trip()) return;
    ++unsendable;
    if (sender) clients.countUnsendable(*sender);
  }

  bool mayTap(ClientId client, EventPortId eventPort, device::PortId port) const {
    if (taps.contains(client, eventPort, port)) return true;
    constexpr std::size_t Bytes = TapTable::EventPortBytes + TapTable::TapBytes;
    return memory.hasRoom(clients.user(client), Bytes) && taps.count(client) < limits.taps &&
           (taps.hasTaps(client, eventPort) || taps.eventPorts(client) < limits.eventPorts);
  }

  bool bothExist(const device::Link& link) const {
    return topology().exists(link.source()) && topology().exists(link.sink());
  }

  // Refuses no connection that exists.
  bool mayConnect(const device::Link& link) const {
    return graph.carrier(link) || (graph.size() < limits.links && memory.hasSharedRoom(PatchGraph::LinkBytes));
  }

  // Call settle when the driver's operation has returned.
  void graphChanged(bool added, const device::Link& link, SourceUse::Turn turn = SourceUse::Turn::Last) {
    const auto carrier = graph.carrier(link);
    changes.push_back({graph.version(), added, link, carrier && isCarried({link, *carrier})});
    memory.setShared(graph.size() * PatchGraph::LinkBytes);
    use.connectionChanged(link, turn);
  }

  bool isCarried(const PatchGraph::Entry& entry) const {
    if (entry.carrier != PatchGraph::Carrier::Service) return false;
    const device::Group* source = topology().find(entry.link.sourceGroup);
    const device::Group* sink = topology().find(entry.link.sinkGroup);
    // A connection of a group that was dropped stays for a moment.
    return source != nullptr && sink != nullptr && source->system != sink->system;
  }

  void disconnect(const device::Link& link) {
    if (graph.disconnect(link) == device::Status::Ok) graphChanged(false, link);
  }

  // What is left of a connection whose port was removed ends, before anything else happens to the same pair.
  void disconnectSevered(const device::Link& link) {
    if (graph.isSevered(link)) disconnect(link);
  }

  // Work that one operation would take too long for.

  void endSevered() {
    for (const device::Link& link : graph.severed(ChangesAtOnce)) disconnect(link);
  }

  // Moves the taps of ports that the device dropped to the ports that have their names now. Ports without such a
  // namesake keep their taps and are not looked at again until the topology changes.
  void moveTaps() {
    std::size_t left = ChangesAtOnce;
    while (!homeless.empty() && left > 0) {
      const device::PortId port = homeless.back();
      const std::string* name = taps.name(port);
      const auto now = name == nullptr ? std::nullopt : topology().port(*name);
      const bool wasTapped = now && taps.isTapped(*now);
      const std::size_t moved = now ? taps.move(port, *now, left) : 0;
      if (moved < left) homeless.pop_back();
      if (moved > 0 && !taps.isTapped(port)) use.tapsChanged(port);
      if (moved > 0 && !wasTapped) use.tapsChanged(*now);
      left -= std::min(left, std::max<std::size_t>(moved, 1));
    }
  }

  void sweepTaps() {
    for (const device::PortId port : taps.sweep(TapsAtOnce)) use.tapsChanged(port);
  }

  // Returns false if there was nothing to do.
  bool work(device::Time now) {
    const bool any = isWorkLeft();
    sweepTaps();
    clients.sweep(MemoryAtOnce);
    endSevered();
    moveTaps();
    return settle(now) || any;
  }

  bool isWorkLeft() {
    return taps.hasEnded() || clients.hasRemoved() || graph.hasSevered() || !homeless.empty() || use.isUnsettled() ||
           requests.isUnsettled() || use.hasRefused();
  }

  // For a port that a message is about to pass: returns whether it was removed. Warns at the first message it misses.
  bool hasGone(device::PortId port) {
    if (topology().exists(port)) return false;
    if (goneTold.insert(port).second) {
      notes.push_back({"port \"" + *taps.name(port) + "\" does not exist: messages to it are lost", true});
    }
    return true;
  }

  // Call this when an operation of the driver has returned. Returns true if there was something to do.
  bool settle(device::Time now) {
    const bool did = requests.settle(now);
    // Whoever asks for these sources now is refused, first of all; the others learn it here.
    if (requests.isUnsettled()) return did;
    const auto refused = use.takeRefused(RefusedAtOnce);
    for (const device::PortId source : refused) lose(source, 0);
    return did || !refused.empty();
  }

  Reply patch(bool made, const device::Link& link, device::Time now) {
    disconnectSevered(link);
    if (made && !mayConnect(link)) return {device::Status::Refused};
    auto reply = requests.patch(made, link, now);
    if (!reply) reply = made ? connectHere(link, now) : disconnectHere(link);
    settle(now);
    return *reply;
  }

  // These are for connections that the service carries.
  Reply connectHere(const device::Link& link, device::Time now) {
    const std::uint64_t before = graph.version();
    const auto status = graph.connect(link);
    const bool made = graph.version() != before;
    if (made) graphChanged(true, link, SourceUse::Turn::Next);
    use.settle(SourcesAtOnce, now);
    if (status != device::Status::Ok) return {status};
    return requests.use(OpenRequests::Carried{link, made});
  }

  Reply disconnectHere(const device::Link& link) {
    const auto status = graph.disconnect(link);
    if (status == device::Status::Ok) graphChanged(false, link);
    return {status};
  }

  void lose(device::PortId source, std::uint64_t count) {
    lostBefore += count;
    if (count == 0) ++uncountedLosses;
    // A client that taps several places misses the same messages, so it gets one loss.
    std::set<ClientId> losers;
    const auto enter = [&](device::PortId port) {
      taps.forEach(port, [&](const Tap& tap, const std::string& /*name*/) { losers.insert(tap.client); });
    };
    enter(source);
    for (const auto& [order, sink] : graph.neighbours(source)) {
      if (!graph.isSevered({source.group, source.index, sink.port.group, sink.port.index})) enter(sink.port);
    }
    for (const ClientId client : losers) clients.addLossBefore(client, count);
  }

  MemoryLedger memory;
  std::unique_ptr<device::Driver> driver;
  TableLimits limits;
  int descriptor = -1;  // the driver's
  PatchGraph graph;
  TapTable taps;
  SourceUse use;
  DeviceRequests requests;
  ClientTable clients;
  Router router;
  std::vector<GraphChange> changes;
  std::uint64_t in = 0;  // from all clients and the device
  std::uint64_t lostBefore = 0;
  std::uint64_t uncountedLosses = 0;
  std::uint64_t unsendable = 0;
  std::uint64_t unsendableTrip = 0;  // the last trip that was counted
  std::optional<ClientId> sender;    // whose message the router passes; nullopt: the device emitted it
  std::vector<Note> notes;
  std::vector<device::PortId> homeless;  // tapped ports that the device dropped, still to look at
  std::set<device::PortId> goneTold;     // removed ports that notes have warned of, until they return
  std::uint64_t topologyVersion = 0;
};

Service::Service(std::unique_ptr<device::Driver> driver, QueueLimits limits, device::Time now, TableLimits tables)
    : state_(std::make_unique<State>(std::move(driver), limits, tables)) {
  const device::Started started = state_->driver->start(*this, now);
  state_->descriptor = started.descriptor;
  state_->graph.begin(started.links);
  state_->memory.setShared(state_->graph.size() * PatchGraph::LinkBytes);
  for (const device::Link& link : state_->graph.links()) state_->use.connectionChanged(link);
  state_->use.settle(std::numeric_limits<std::size_t>::max(), now);
  state_->settle(now);
}

Service::~Service() = default;

ClientId Service::addClient(std::uint32_t user) { return state_->clients.add(user); }

void Service::removeClient(ClientId client, device::Time now) {
  state_->clients.remove(client);
  state_->requests.forget(client);
  state_->taps.removeClient(client);
  state_->work(now);
}

Reply Service::tap(ClientId client, EventPortId port, std::string_view name, std::uint32_t holderBytes,
                   device::Time now) {
  if (!state_->clients.contains(client)) return {device::Status::NoSession};
  const auto devicePort = state_->topology().port(name);
  if (!devicePort) return {device::Status::NotFound};
  if (!state_->mayTap(client, port, *devicePort)) return {device::Status::Refused};
  const bool wasTapped = state_->taps.isTapped(*devicePort);
  const bool made = state_->taps.add(client, port, *devicePort, holderBytes, name);
  // Before what others have left to do: from the answer on, nothing may be missed.
  if (!wasTapped) state_->use.tapsChanged(*devicePort, SourceUse::Turn::Next);
  state_->use.settle(SourcesAtOnce, now);
  const Reply reply = state_->requests.use(OpenRequests::Tap{client, port, *devicePort, made});
  state_->settle(now);
  return reply;
}

device::Status Service::untap(ClientId client, EventPortId port, std::string_view name, device::Time now) {
  if (!state_->clients.contains(client)) return device::Status::NoSession;
  // Also finds a removed port, because its tap would return with it.
  auto place = state_->topology().place(name);
  if (!place || !state_->taps.remove(client, port, *place)) {
    place = state_->taps.find(client, port, name);
    if (!place || !state_->taps.remove(client, port, *place)) return device::Status::Nothing;
  }
  if (!state_->taps.isTapped(*place)) state_->use.tapsChanged(*place);
  // A tap of a dropped port that has not moved yet would come back with its port.
  const auto other = state_->taps.find(client, port, name);
  if (other && state_->taps.remove(client, port, *other) && !state_->taps.isTapped(*other)) {
    state_->use.tapsChanged(*other);
  }
  state_->settle(now);
  return device::Status::Ok;
}

void Service::untapAll(ClientId client, EventPortId port, device::Time now) {
  state_->taps.removeAll(client, port);
  state_->work(now);
}

device::Status Service::send(ClientId client, EventPortId port, const device::Message& message, device::Time now) {
  if (!state_->clients.contains(client)) return device::Status::NoSession;
  if (message.bytes.empty()) return device::Status::BadRequest;
  auto ports = state_->taps.tappedBy(client, port);
  std::erase_if(ports, [this](device::PortId tapped) { return state_->hasGone(tapped); });
  state_->pass(client, ports, message, now);
  return device::Status::Ok;
}

device::Status Service::inject(ClientId client, std::string_view name, const device::Message& message,
                               device::Time now) {
  if (!state_->clients.contains(client)) return device::Status::NoSession;
  const auto port = state_->topology().port(name);
  if (!port) return device::Status::NotFound;
  if (message.bytes.empty()) return device::Status::BadRequest;
  state_->pass(client, {&*port, 1}, message, now);
  return device::Status::Ok;
}

Reply Service::connect(const device::Link& link, device::Time now) {
  if (!state_->bothExist(link)) return {device::Status::NotFound};
  return state_->patch(true, link, now);
}

Reply Service::disconnect(const device::Link& link, device::Time now) {
  if (!state_->bothExist(link)) return {device::Status::NotFound};
  return state_->patch(false, link, now);
}

std::vector<Answer> Service::takeAnswers() { return state_->requests.takeAnswers(); }

std::vector<device::Link> Service::links() const { return state_->graph.links(); }

std::vector<CarriedLink> Service::connections() const {
  std::vector<CarriedLink> all;
  for (const auto& [number, entry] : state_->graph.entries()) all.push_back({entry.link, state_->isCarried(entry)});
  return all;
}

LinkPosition Service::firstConnection() const {
  return {.after = std::numeric_limits<std::int64_t>::min(), .end = state_->graph.nextNumber()};
}

std::vector<CarriedLink> Service::connectionsAfter(LinkPosition& position, std::size_t most) const {
  std::vector<CarriedLink> piece;
  const auto& all = state_->graph.entries();
  for (auto next = all.upper_bound(position.after); next != all.end() && next->first < position.end; ++next) {
    if (piece.size() == most) break;
    piece.push_back({next->second.link, state_->isCarried(next->second)});
    position.after = next->first;
  }
  return piece;
}

std::uint64_t Service::graphVersion() const { return state_->graph.version(); }

std::vector<GraphChange> Service::takeGraphChanges() { return std::exchange(state_->changes, {}); }

const device::Topology& Service::topology() const { return state_->topology(); }

std::uint64_t Service::topologyVersion() const { return state_->topologyVersion; }

std::size_t Service::takeEvents(ClientId client, std::size_t maxBytes, std::vector<std::uint8_t>& out) {
  return state_->clients.take(client, maxBytes, out);
}

bool Service::hasEvents(ClientId client) const { return state_->clients.hasEvents(client); }

std::vector<ClientId> Service::takeReadyClients() { return state_->clients.takeReady(); }

std::vector<ClientId> Service::takeLosingClients() { return state_->clients.takeLosing(); }

std::size_t Service::clientsOf(std::uint32_t user) const { return state_->clients.clientsOf(user); }

bool Service::hasRoomForClient(std::uint32_t user) const {
  return state_->memory.hasRoomForClient(user, ClientTable::ClientBytes);
}

MemoryLedger& Service::memory() { return state_->memory; }

bool Service::hasRoomFor(ClientId client, const device::Link& link) const {
  return state_->graph.carrier(link) || !state_->bothExist(link) ||
         state_->memory.hasRoom(state_->clients.user(client), PatchGraph::LinkBytes);
}

std::size_t Service::relieve() { return state_->clients.relieve(); }

std::size_t Service::waitingMemory() const { return state_->clients.memory(); }

std::size_t Service::waitingMemory(std::uint32_t user) const { return state_->clients.memory(user); }

std::size_t Service::dropOldest(std::size_t memory) { return state_->clients.dropOldest(memory); }

std::size_t Service::dropOldestOf(std::uint32_t user, std::size_t memory) {
  return state_->clients.dropOldestOf(user, memory);
}

ClientCounts Service::counts(ClientId client) const {
  ClientCounts all = state_->clients.counts(client);
  all.taps = state_->taps.count(client);
  return all;
}

Counts Service::counts() const {
  Counts all = state_->clients.counts();
  all.in = state_->in;
  all.lostBefore = state_->lostBefore;
  all.uncountedLosses = state_->uncountedLosses;
  all.unsendable = state_->unsendable;
  return all;
}

bool Service::behind() const { return state_->driver->behind(); }

std::vector<Service::Note> Service::takeNotes() { return std::exchange(state_->notes, {}); }

int Service::descriptor() const { return state_->descriptor; }

std::uint64_t Service::lostBefore() const { return state_->lostBefore; }

std::uint64_t Service::uncountedLosses() const { return state_->uncountedLosses; }

void Service::finish(device::Time now) { state_->driver->finish(now); }

std::optional<device::Time> Service::advance(device::Time now) {
  const auto next = state_->driver->advance(now);
  return state_->work(now) ? now : next;
}

void Service::emitted(device::PortId source, const device::Message& message, device::Time now) {
  // A reader would take a record without a message for the end of the data.
  if (source.side != device::Side::Source || message.bytes.empty()) return;
  ++state_->in;
  state_->router.emitted(source, message, now);
}

void Service::linked(const device::Link& link, device::Time /*now*/) {
  state_->disconnectSevered(link);
  const std::uint64_t before = state_->graph.version();
  state_->graph.connect(link, PatchGraph::Carrier::Device);
  if (state_->graph.version() != before) state_->graphChanged(true, link);
}

void Service::unlinked(const device::Link& link, device::Time /*now*/) { state_->disconnect(link); }

void Service::topologyChanged(device::Time /*now*/) {
  state_->graph.severMissing();
  state_->endSevered();
  state_->homeless = state_->taps.unknown(state_->topology(), std::numeric_limits<std::size_t>::max());
  state_->moveTaps();
  state_->use.forgetMissing(state_->topology());
  state_->router.forgetMissing(state_->topology());
  std::erase_if(state_->goneTold, [this](device::PortId port) {
    return state_->topology().exists(port) || !state_->taps.isTapped(port);
  });
  ++state_->topologyVersion;
}

void Service::lost(device::PortId source, std::uint64_t count, device::Time /*now*/) { state_->lose(source, count); }

void Service::patched(device::RequestId request, device::Status status, device::Time /*now*/) {
  state_->requests.answered(request, status);
}

void Service::used(device::PortId source, device::Status status, device::Time /*now*/) {
  state_->use.answered(source, status);
}

void Service::noted(std::string_view line) { state_->notes.push_back({std::string(line), false}); }

void Service::warned(std::string_view line) { state_->notes.push_back({std::string(line), true}); }

}  // namespace service
