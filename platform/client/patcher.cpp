#include <algorithm>
#include <chrono>
#include <mutex>
#include <optional>
#include <span>
#include <utility>

#include "platform/channel/group_ids.h"
#include "platform/client/gapless_indices.h"
#include "platform/client/port_places.h"
#include "platform/client/session.h"
#include "strmsrv.h"

namespace StrmSrv {

namespace {

// Minimum time between two queries, because an unknown port may never become known, nor a removed one return.
constexpr std::chrono::milliseconds RefreshInterval{100};

// GroupNameTable holds their names.
channel::GroupIds& groupIdsOfThisProcess() {
  // Never destroyed: a patcher may outlive static objects.
  static auto* const ids =
      new channel::GroupIds([](std::uint16_t id, const std::string& name) { GroupNameTable.publish(id, name); });
  return *ids;
}

}  // namespace

struct Patcher::State {
  using Session = EvtSrv::EventPortManager::Session;
  using Peers = std::vector<device::PortId>;

  std::weak_ptr<Session> session;
  std::vector<GroupRecord> sources;
  std::vector<GroupRecord> sinks;

  std::mutex mutex;  // for all below
  client::GaplessIndices indices;
  client::PortPlaces places;
  channel::HeldGroupIds ids{groupIdsOfThisProcess()};
  std::uint64_t followed = 0;       // the number of the session whose ports places knows
  std::uint64_t deviceVersion = 0;  // the version of its device
  std::chrono::steady_clock::time_point nextRefresh;
  std::chrono::steady_clock::time_point nextRetry;
  // What the last result of version() stands for: a session and a version of its graph, if there is one.
  std::pair<std::uint64_t, std::optional<std::uint64_t>> seen;
  std::uint64_t version = 1;

  StreamResult patch(bool made, PortRecord source, PortRecord sink);
  StreamResult peers(PortRecord port, device::Side side, std::vector<PortRecord>& result);
  std::uint64_t currentVersion();
  std::uint64_t follow(Session& service);
  void learn(const Session::Device& device, std::span<const device::PortId> wanted = {});
  bool learnsMore(Session& service);
  device::PortId toService(PortRecord port, device::Side side);
  void toConsole(Session& service, Peers& peers, std::vector<PortRecord>& ports);
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
void Patcher::State::learn(const Session::Device& device, std::span<const device::PortId> wanted) {
  places.follow(device.topology.groups, device.session != followed,
                [&](const device::Group& group) -> std::optional<std::uint16_t> {
                  const auto isOfIt = [&](device::PortId port) { return port.group == group.handle; };
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

device::PortId Patcher::State::toService(PortRecord port, device::Side side) {
  const std::lock_guard guard(mutex);
  return places.toService({port.groupId, indices.toService(port.groupId, port.portIndex, side)}, side);
}

// Turns the service's ports into the console's. Ports that were added since the beginning become known here; one that
// the service does not know was just removed.
void Patcher::State::toConsole(Session& service, Peers& peers, std::vector<PortRecord>& ports) {
  const std::lock_guard guard(mutex);
  const auto isUnknown = [&](device::PortId port) { return !places.fromService(port); };
  if (std::ranges::any_of(peers, isUnknown) && std::chrono::steady_clock::now() >= nextRefresh) {
    const auto device = service.device();
    if (device && device->session == followed) learn(*device, peers);
    if (std::ranges::any_of(peers, isUnknown)) nextRefresh = std::chrono::steady_clock::now() + RefreshInterval;
  }
  // The next answer may differ, though the graph is the same.
  if (std::erase_if(peers, isUnknown) > 0) ++version;
  for (const device::PortId peer : peers) {
    const PortRecord place = *places.fromService(peer);
    ports.push_back({place.groupId, indices.toConsole(place.groupId, place.portIndex, peer.side)});
  }
}

namespace {

// The call is repeated once for a service that replaced the expected one, with that service's places, and for a service
// whose ports are at other places than expected.
constexpr int Attempts = 2;

std::vector<GroupRecord> groupsOf(std::span<const device::Group> all, const client::GaplessIndices& indices,
                                  device::Side side) {
  std::vector<GroupRecord> groups;
  for (const device::Group& group : all) {
    const auto& ports = group.side(side);
    if (ports) groups.push_back({*group.wantedId, indices.count(*group.wantedId, side, ports->count)});
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
  session->list(device->topology);
  std::vector<device::Group>& groups = device->topology.groups;
  state_->ids.enter(groups);
  state_->indices = client::GaplessIndices(groups);
  // Other types have no streams.
  if (streamType == 0) {
    state_->sources = groupsOf(groups, state_->indices, device::Side::Source);
    state_->sinks = groupsOf(groups, state_->indices, device::Side::Sink);
  }
  state_->places = client::PortPlaces(std::move(groups));
  state_->followed = device->session;
  state_->deviceVersion = device->version;
}

StreamResult Patcher::State::patch(bool made, PortRecord source, PortRecord sink) {
  const auto service = session.lock();
  if (!service) return StrmRes_NoService;
  std::optional<device::Status> status;
  for (int attempt = 0; attempt < Attempts; ++attempt) {
    const std::uint64_t number = follow(*service);
    const device::PortId from = toService(source, device::Side::Source);
    const device::PortId to = toService(sink, device::Side::Sink);
    status = service->patch(made, {from.group, from.index, to.group, to.index}, number);
    if (status == device::Status::NotFound && learnsMore(*service)) continue;
    if (status != device::Status::NoSession) break;
  }
  return toResult(status);
}

StreamResult Patcher::State::peers(PortRecord port, device::Side side, std::vector<PortRecord>& result) {
  result.clear();
  const auto service = session.lock();
  if (!service) return StrmRes_NoService;
  for (int attempt = 0; attempt < Attempts; ++attempt) {
    const std::uint64_t number = follow(*service);
    Peers peers;
    if (!service->peersOf(toService(port, side), number, peers)) continue;
    toConsole(*service, peers, result);
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
  return state_->peers({sinkGroup, sinkPort}, device::Side::Sink, result);
}

StreamResult Patcher::getConnectSinkPorts(std::uint16_t sourceGroup, std::uint16_t sourcePort,
                                          std::vector<PortRecord>& result) {
  return state_->peers({sourceGroup, sourcePort}, device::Side::Source, result);
}

std::uint64_t Patcher::version() { return state_->currentVersion(); }

std::string Patcher::makeStreamPortName(unsigned /*streamType*/, std::uint16_t group, std::uint16_t port,
                                        int sink) const {
  const device::Side side = sink == 0 ? device::Side::Source : device::Side::Sink;
  const std::lock_guard guard(state_->mutex);
  return state_->places.name({group, state_->indices.toService(group, port, side)}, side);
}

void Patcher::notifyAddGroup(std::uint16_t /*group*/) {}

void Patcher::notifyAddPort(std::uint16_t /*group*/, std::uint16_t /*port*/, int /*sink*/) {}

void Patcher::notifyRemoveGroup(std::uint16_t /*group*/) {}

}  // namespace StrmSrv
