#include "platform/service/service_state.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <string>
#include <utility>

namespace service {
namespace {

// How much is done at once of what may be any amount: about a millisecond each, without what a driver needs.
constexpr std::size_t TapsAtOnce = 2000;
constexpr std::size_t MemoryAtOnce = 1U << 20U;
constexpr std::size_t ChangesAtOnce = 500;
constexpr std::size_t RefusedAtOnce = 16;  // their taps are told in pieces

}  // namespace

Service::State::State(std::unique_ptr<device::Driver> device, QueueLimits sizes, TableLimits tableLimits)
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
          [this](device::PortId port, const device::Message& message, device::Time now, Router::Copying& to) {
            return copyToTaps(port, message, now, to);
          },
          [this](device::PortId sink, const device::Message& message, device::Time now) {
            // The port may have been removed while the message was on its way.
            if (!topology().exists(sink)) return;
            if (driver->deliver(sink, message, now) == device::Delivery::Unsendable) countUnsendable();
          },
          [this](device::PortId port) { return !hasGone(port); }) {
  router.allow(PassedAtOnce);
}

bool Service::State::copyToTaps(device::PortId port, const device::Message& message, device::Time now,
                                Router::Copying& to) {
  if (to.from == 0 && !homeless.empty() && !bringHome(port, to.left)) return false;
  return taps.forSome(port, to.from, to.left, [&](const Tap& tap, const std::string& name) {
    clients.addMessage(tap.client, tap.eventPort, port, name, tap.holderBytes, message, now);
  });
}

void Service::State::pass(ClientId client, std::span<const device::PortId> ports, const device::Message& message,
                          device::Time now) {
  if (router.isOnTheWay()) arriveAll();
  clients.countIn(client);
  ++in;
  sender = client;
  router.allow(PassedAtOnce);
  router.pass(ports, message, now);
  // At the end of this trip, before those that the device begins meanwhile.
  router.afterwards([this](std::size_t& /*left*/) {
    sender.reset();
    return true;
  });
}

void Service::State::arriveAll() {
  router.allow(std::numeric_limits<std::size_t>::max());
  router.goOn();
}

void Service::State::countUnsendable() {
  if (std::exchange(unsendableTrip, router.trip()) == router.trip()) return;
  ++unsendable;
  // The client may have left while its message was on its way.
  if (sender && clients.contains(*sender)) clients.countUnsendable(*sender);
}

bool Service::State::hasGone(device::PortId port) {
  if (topology().exists(port)) return false;
  const std::string* name = taps.name(port);
  if (name != nullptr && goneTold.insert(port).second) {
    notes.push_back({"port \"" + *name + "\" does not exist: messages to it are lost", true});
  }
  return true;
}

bool Service::State::bringHome(device::PortId port, std::size_t& left) {
  if (!topology().exists(port)) return true;
  for (const device::PortId other : taps.namesakes(port, topology().name(port))) {
    if (topology().knows(other)) continue;
    const std::size_t most = left;
    left -= moveTaps(other, port, most);
    if (left == 0) return false;
  }
  return true;
}

bool Service::State::mayTap(ClientId client, EventPortId eventPort, device::PortId port) const {
  if (taps.contains(client, eventPort, port)) return true;
  constexpr std::size_t Bytes = TapTable::EventPortBytes + TapTable::TapBytes;
  return memory.hasRoom(clients.user(client), Bytes) && taps.count(client) < limits.taps &&
         (taps.hasTaps(client, eventPort) || taps.eventPorts(client) < limits.eventPorts);
}

void Service::State::graphChanged(bool added, const device::Link& link, SourceUse::Turn turn) {
  const auto carrier = graph.carrier(link);
  changes.push_back({graph.version(), added, link, carrier && isCarried({link, *carrier})});
  memory.setShared(graph.size() * PatchGraph::LinkBytes);
  use.connectionChanged(link, turn);
}

bool Service::State::isCarried(const PatchGraph::Entry& entry) const {
  if (entry.carrier != PatchGraph::Carrier::Service) return false;
  const device::Group* source = topology().find(entry.link.sourceGroup);
  const device::Group* sink = topology().find(entry.link.sinkGroup);
  // A connection of a group that was dropped stays for a moment.
  return source != nullptr && sink != nullptr && source->system != sink->system;
}

Reply Service::State::patch(bool made, const device::Link& link, device::Time now) {
  disconnectSevered(link);
  if (made && !mayConnect(link)) return {device::Status::Refused};
  auto reply = requests.patch(made, link, now);
  if (!reply) reply = made ? connectHere(link, now) : disconnectHere(link);
  settle(now);
  return *reply;
}

Reply Service::State::connectHere(const device::Link& link, device::Time now) {
  const std::uint64_t before = graph.version();
  const auto status = graph.connect(link);
  const bool made = graph.version() != before;
  if (made) graphChanged(true, link, SourceUse::Turn::Next);
  use.settle(SourcesAtOnce, now);
  if (status != device::Status::Ok) return {status};
  return requests.use(OpenRequests::Carried{link, made});
}

Reply Service::State::disconnectHere(const device::Link& link) {
  const auto status = graph.disconnect(link);
  if (status == device::Status::Ok) graphChanged(false, link);
  return {status};
}

void Service::State::lose(device::PortId source, std::uint64_t count) {
  lostBefore += count;
  if (count == 0) ++uncountedLosses;
  Telling begin{.source = source, .count = count, .port = source, .sink = std::numeric_limits<std::int64_t>::min()};
  router.afterwards([this, telling = std::move(begin)](std::size_t& left) mutable { return tell(telling, left); });
}

bool Service::State::tell(Telling& telling, std::size_t& left) {
  while (left > 0) {
    if (telling.port) {
      const bool all = taps.forSome(*telling.port, telling.tap, left, [&](const Tap& tap, const std::string& /*name*/) {
        // A client that taps several places misses the same messages, so it gets one loss.
        if (telling.told.insert(tap.client).second) clients.addLossBefore(tap.client, telling.count);
      });
      if (!all) return false;
      telling.port.reset();
      telling.tap = 0;
    }
    const auto& sinks = graph.neighbours(telling.source);
    const auto next = sinks.upper_bound(telling.sink);
    if (next == sinks.end()) return true;
    telling.sink = next->first;
    left -= std::min<std::size_t>(left, 1);
    const device::PortId sink = next->second.port;
    const device::Link link{telling.source.group, telling.source.index, sink.group, sink.index};
    if (!graph.isSevered(link)) telling.port = sink;
  }
  return false;
}

bool Service::State::work(device::Time now) {
  const bool any = isWorkLeft();
  sweepTaps();
  clients.sweep(MemoryAtOnce);
  endSevered();
  moveTaps();
  if (goneToSweep) sweepGoneTold();
  return settle(now) || any;
}

bool Service::State::isWorkLeft() {
  return taps.hasEnded() || clients.hasRemoved() || graph.hasSevered() || !homeless.empty() ||
         goneToSweep.has_value() || use.isUnsettled() || requests.isUnsettled() || use.hasRefused();
}

bool Service::State::settle(device::Time now) {
  const bool did = requests.settle(now);
  // Whoever asks for these sources now is refused, first of all; the others learn it here. Who asks for a sink with
  // many sources is answered when all of them have been looked at.
  if (use.isUnsettled() || requests.isUnsettled()) return did;
  const auto refused = use.takeRefused(RefusedAtOnce);
  for (const device::PortId source : refused) lose(source, 0);
  return did || !refused.empty();
}

void Service::State::endSevered() {
  for (const device::Link& link : graph.severed(ChangesAtOnce)) disconnect(link);
}

void Service::State::moveTaps() {
  std::size_t left = ChangesAtOnce;
  while (!homeless.empty() && left > 0) {
    const device::PortId port = homeless.back();
    const std::string* name = taps.name(port);
    const auto now = name == nullptr ? std::nullopt : topology().port(*name);
    const std::size_t moved = now ? moveTaps(port, *now, left) : 0;
    if (moved < left) homeless.pop_back();
    left -= std::min(left, std::max<std::size_t>(moved, 1));
  }
}

std::size_t Service::State::moveTaps(device::PortId from, device::PortId to, std::size_t most) {
  const bool wasTapped = taps.isTapped(to);
  const std::size_t moved = taps.move(from, to, most);
  if (moved > 0 && !taps.isTapped(from)) use.tapsChanged(from);
  if (moved > 0 && !wasTapped) use.tapsChanged(to);
  return moved;
}

void Service::State::sweepGoneTold() {
  auto next = goneTold.lower_bound(*goneToSweep);
  for (std::size_t left = ChangesAtOnce; next != goneTold.end() && left > 0; --left) {
    next = topology().exists(*next) || !taps.isTapped(*next) ? goneTold.erase(next) : std::next(next);
  }
  goneToSweep = next == goneTold.end() ? std::nullopt : std::optional(*next);
}

void Service::State::sweepTaps() {
  for (const device::PortId port : taps.sweep(TapsAtOnce)) use.tapsChanged(port);
}

}  // namespace service
