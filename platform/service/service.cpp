#include "platform/service/service.h"

#include <limits>
#include <utility>

#include "platform/service/service_state.h"

namespace service {
namespace {

// What a device emits waits while an earlier message is on its way. A device that has emitted so much has to wait, too.
constexpr std::size_t MostWaiting = 1000;

}  // namespace

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
  state_->pass(client, state_->taps.tappedBy(client, port), message, now);
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

std::size_t Service::openRequests() const { return state_->requests.open(); }

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

void Service::finish(device::Time now) {
  state_->arriveAll();
  state_->driver->finish(now);
}

bool Service::isPassing() const { return state_->router.isOnTheWay(); }

std::optional<device::Time> Service::advance(device::Time now) {
  State& state = *state_;
  state.router.allow(State::PassedAtOnce);
  state.router.goOn();
  std::optional<device::Time> next = now;
  if (state.router.waiting() < MostWaiting) {
    state.advances = true;
    next = state.driver->advance(now);
    state.advances = false;
  }
  return state.work(now) || isPassing() ? now : next;
}

void Service::emitted(device::PortId source, const device::Message& message, device::Time now) {
  // A reader would take a record without a message for the end of the data.
  if (source.side != device::Side::Source || message.bytes.empty()) return;
  ++state_->in;
  state_->allowOutside();
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
  state_->use.topologyChanged(state_->topology());
  state_->router.forgetMissing(state_->topology());
  if (!state_->goneTold.empty()) state_->goneToSweep = device::PortId{};
  ++state_->topologyVersion;
}

void Service::lost(device::PortId source, std::uint64_t count, device::Time /*now*/) {
  state_->allowOutside();
  state_->lose(source, count);
}

void Service::patched(device::RequestId request, device::Status status, device::Time /*now*/) {
  state_->requests.answered(request, status);
}

void Service::used(device::PortId source, device::Status status, device::Time /*now*/) {
  state_->use.answered(source, status);
}

void Service::noted(std::string_view line) { state_->notes.push_back({std::string(line), false}); }

void Service::warned(std::string_view line) { state_->notes.push_back({std::string(line), true}); }

}  // namespace service
