#include <algorithm>
#include <chrono>
#include <mutex>
#include <optional>
#include <span>
#include <utility>

#include "platform/client/group_ids.h"
#include "platform/client/port_numbers.h"
#include "platform/client/port_places.h"
#include "platform/client/session.h"
#include "strmsrv.h"

namespace StrmSrv {

namespace {

// Minimum time between two queries, because an unknown port may never become known, nor a removed one return.
constexpr std::chrono::milliseconds RefreshInterval{100};

}  // namespace

struct Patcher::State {
  using Session = EvtSrv::EventPortManager::Session;
  using Peers = std::vector<channel::ServicePort>;
  using AskPeers = bool (Session::*)(channel::ServicePort port, std::uint64_t number, Peers& result);

  std::weak_ptr<Session> session;
  std::vector<GroupRecord> sources;
  std::vector<GroupRecord> sinks;

  std::mutex mutex;  // for all below
  client::PortNumbers numbers;
  client::PortPlaces places;
  client::HeldGroupIds ids{client::groupIdsOfThisProcess()};
  std::uint64_t followed = 0;       // the number of the session whose ports places knows
  std::uint64_t deviceVersion = 0;  // the version of its device
  std::chrono::steady_clock::time_point nextRefresh;
  std::chrono::steady_clock::time_point nextRetry;
  // What the last result of version() stands for: a session and a version of its graph, if there is one.
  std::pair<std::uint64_t, std::optional<std::uint64_t>> seen;
  std::uint64_t version = 1;

  StreamResult patch(bool made, PortRecord source, PortRecord sink);
  StreamResult peers(PortRecord port, device::Side side, AskPeers ask, std::vector<PortRecord>& result);
  std::uint64_t currentVersion();
  std::uint64_t follow(Session& service);
  void learn(const Session::Device& device, std::span<const channel::ServicePort> wanted = {});
  bool learnsMore(Session& service);
  channel::ServicePort toService(PortRecord port, device::Side side);
  void toConsole(Session& service, device::Side side, Peers& peers, std::vector<PortRecord>& ports);
};

// Returns the number of the session whose ports places knows. It is the service's own number if the service answers.
std::uint64_t Patcher::State::follow(Session& service) {
  const std::lock_guard guard(mutex);
  const std::uint64_t number = service.number();
  if (number != followed && number != 0) {
    if (const auto device = service.device()) learn(*device);
  } else if (number != 0 && service.deviceVersion() != deviceVersion) {
    // Another call has learnt that groups came back under other handles, or ports at other places.
    if (const auto device = service.lastDevice(); device.session == followed) learn(device);
  }
  return followed;
}

// Of the unknown groups, only those of the wanted ports become known, because ids are few.
void Patcher::State::learn(const Session::Device& device, std::span<const channel::ServicePort> wanted) {
  places.follow(device.topology, device.session != followed,
                [&](const wire::TopologyGroup& group) -> std::optional<std::uint16_t> {
                  const auto isOfIt = [&](channel::ServicePort port) { return port.group == group.handle; };
                  return std::ranges::any_of(wanted, isOfIt) ? ids.enter(group) : std::nullopt;
                });
  followed = device.session;
  deviceVersion = device.version;
  ++version;
}

// For a port that the service does not find: returns true if the service has since reported other ports than the known
// ones, and may find it now.
bool Patcher::State::learnsMore(Session& service) {
  const std::lock_guard guard(mutex);
  if (std::chrono::steady_clock::now() < nextRetry) return false;
  nextRetry = std::chrono::steady_clock::now() + RefreshInterval;
  const auto device = service.device();
  if (!device || device->session != followed || device->version == deviceVersion) return false;
  learn(*device);
  return true;
}

channel::ServicePort Patcher::State::toService(PortRecord port, device::Side side) {
  const std::lock_guard guard(mutex);
  return places.toService({port.groupId, numbers.toService(port.groupId, port.portIndex, side)}, side);
}

// Turns the service's ports into the console's. Ports that were added since the beginning become known here; one that
// the service does not know was just removed.
void Patcher::State::toConsole(Session& service, device::Side side, Peers& peers, std::vector<PortRecord>& ports) {
  const std::lock_guard guard(mutex);
  const auto isUnknown = [&](channel::ServicePort port) { return !places.fromService(port, side); };
  if (std::ranges::any_of(peers, isUnknown) && std::chrono::steady_clock::now() >= nextRefresh) {
    const auto device = service.device();
    if (device && device->session == followed) learn(*device, peers);
    if (std::ranges::any_of(peers, isUnknown)) nextRefresh = std::chrono::steady_clock::now() + RefreshInterval;
  }
  // The next answer may differ, though the graph is the same.
  if (std::erase_if(peers, isUnknown) > 0) ++version;
  for (const channel::ServicePort peer : peers) {
    const PortRecord place = *places.fromService(peer, side);
    ports.push_back({place.groupId, numbers.toConsole(place.groupId, place.portIndex, side)});
  }
}

namespace {

// The call is repeated once for a service that replaced the expected one, with that service's places, and for a service
// whose ports are at other places than expected.
constexpr int Attempts = 2;

std::vector<GroupRecord> groupsOf(const wire::Topology& topology, const client::PortNumbers& numbers,
                                  device::Side side) {
  std::vector<GroupRecord> groups;
  for (const wire::TopologyGroup& group : topology.groups) {
    const auto& ports = side == device::Side::Source ? group.sources : group.sinks;
    if (ports) groups.push_back({*group.id, numbers.count(*group.id, side, ports->count)});
  }
  return groups;
}

StreamResult toResult(const std::optional<device::Status>& status) {
  if (!status) return StrmRes_NoService;
  switch (*status) {
    case device::Status::Ok:
    case device::Status::Nothing:
      return StrmRes_Success;
    case device::Status::NotFound:
      return StrmRes_NotFound;
    case device::Status::NoSession:
      return StrmRes_NoService;
    case device::Status::BadRequest:
    case device::Status::Refused:
      break;
  }
  return StrmRes_Refused;
}

}  // namespace

Patcher::Patcher(EvtSrv::EventPortManager& manager, unsigned streamType) : state_(std::make_unique<State>()) {
  const auto& session = manager.session();
  if (!session) return;
  state_->session = session;
  auto device = session->device();
  if (!device) return;
  wire::Topology& topology = device->topology;
  session->list(topology);
  state_->ids.enter(topology);
  state_->numbers = client::PortNumbers(topology);
  // Other types have no streams.
  if (streamType == 0) {
    state_->sources = groupsOf(topology, state_->numbers, device::Side::Source);
    state_->sinks = groupsOf(topology, state_->numbers, device::Side::Sink);
  }
  state_->places = client::PortPlaces(std::move(device->topology));
  state_->followed = device->session;
  state_->deviceVersion = device->version;
}

StreamResult Patcher::State::patch(bool made, PortRecord source, PortRecord sink) {
  const auto service = session.lock();
  if (!service) return StrmRes_NoService;
  std::optional<device::Status> status;
  for (int attempt = 0; attempt < Attempts; ++attempt) {
    const std::uint64_t number = follow(*service);
    const channel::ServicePort from = toService(source, device::Side::Source);
    const channel::ServicePort to = toService(sink, device::Side::Sink);
    status = service->patch(made, {from.group, from.index, to.group, to.index}, number);
    if (status == device::Status::NotFound && learnsMore(*service)) continue;
    if (status != device::Status::NoSession) break;
  }
  return toResult(status);
}

StreamResult Patcher::State::peers(PortRecord port, device::Side side, AskPeers ask, std::vector<PortRecord>& result) {
  result.clear();
  const auto service = session.lock();
  if (!service) return StrmRes_NoService;
  for (int attempt = 0; attempt < Attempts; ++attempt) {
    const std::uint64_t number = follow(*service);
    Peers peers;
    if (!((*service).*ask)(toService(port, side), number, peers)) continue;
    toConsole(*service, side == device::Side::Source ? device::Side::Sink : device::Side::Source, peers, result);
    return StrmRes_Success;
  }
  // The graph may be unchanged when the service answers again, but this answer was different.
  const std::lock_guard guard(mutex);
  if (seen.second) ++version;
  seen.second.reset();
  return StrmRes_NoService;
}

std::uint64_t Patcher::State::currentVersion() {
  std::pair<std::uint64_t, std::optional<std::uint64_t>> now;
  if (const auto service = session.lock()) {
    now.first = follow(*service);
    now.second = service->graphVersion(now.first);
  }
  const std::lock_guard guard(mutex);
  if (now != seen) ++version;
  seen = now;
  return version;
}

Patcher::~Patcher() = default;

const std::vector<GroupRecord>& Patcher::sourceGroups() const noexcept { return state_->sources; }

const std::vector<GroupRecord>& Patcher::sinkGroups() const noexcept { return state_->sinks; }

StreamResult Patcher::connect(std::uint16_t sourceGroup, std::uint16_t sourcePort, std::uint16_t sinkGroup,
                              std::uint16_t sinkPort) {
  return state_->patch(true, {sourceGroup, sourcePort}, {sinkGroup, sinkPort});
}

StreamResult Patcher::disconnect(std::uint16_t sourceGroup, std::uint16_t sourcePort, std::uint16_t sinkGroup,
                                 std::uint16_t sinkPort) {
  return state_->patch(false, {sourceGroup, sourcePort}, {sinkGroup, sinkPort});
}

StreamResult Patcher::getConnectSourcePorts(std::uint16_t sinkGroup, std::uint16_t sinkPort,
                                            std::vector<PortRecord>& result) {
  return state_->peers({sinkGroup, sinkPort}, device::Side::Sink, &State::Session::sourcesOf, result);
}

StreamResult Patcher::getConnectSinkPorts(std::uint16_t sourceGroup, std::uint16_t sourcePort,
                                          std::vector<PortRecord>& result) {
  return state_->peers({sourceGroup, sourcePort}, device::Side::Source, &State::Session::sinksOf, result);
}

std::uint64_t Patcher::version() { return state_->currentVersion(); }

std::string Patcher::makeStreamPortName(unsigned /*streamType*/, std::uint16_t group, std::uint16_t port,
                                        int sink) const {
  const device::Side side = sink == 0 ? device::Side::Source : device::Side::Sink;
  const std::lock_guard guard(state_->mutex);
  return state_->places.name({group, state_->numbers.toService(group, port, side)}, side);
}

void Patcher::notifyAddGroup(std::uint16_t /*group*/) {}

void Patcher::notifyAddPort(std::uint16_t /*group*/, std::uint16_t /*port*/, int /*sink*/) {}

void Patcher::notifyRemoveGroup(std::uint16_t /*group*/) {}

}  // namespace StrmSrv
