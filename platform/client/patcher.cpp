#include <algorithm>
#include <chrono>
#include <mutex>
#include <optional>
#include <utility>

#include "platform/client/port_numbers.h"
#include "platform/client/port_places.h"
#include "platform/client/session.h"
#include "strmsrv.h"

namespace StrmSrv {

namespace {

// An unknown port may stay unknown, and is not asked for again and again.
constexpr std::chrono::milliseconds RefreshInterval{100};

}  // namespace

struct Patcher::State {
  using Session = EvtSrv::EventPortManager::Session;
  using AskPeers = bool (Session::*)(PortRecord port, std::uint64_t number, std::vector<PortRecord>& result);

  std::weak_ptr<Session> session;
  std::vector<GroupRecord> sources;
  std::vector<GroupRecord> sinks;

  std::mutex mutex;  // for all below
  client::PortNumbers numbers;
  client::PortPlaces places;
  std::uint64_t followed = 0;  // the number of the session that places tells of
  std::chrono::steady_clock::time_point nextRefresh;
  // What the last answer to version() stands for: a session and a version of its graph, if there is one.
  std::pair<std::uint64_t, std::optional<std::uint64_t>> seen;
  std::uint64_t version = 1;

  StreamResult patch(bool made, const wire::LinkRecord& link);
  StreamResult peers(PortRecord port, client::Side side, AskPeers ask, std::vector<PortRecord>& result);
  std::uint64_t currentVersion();
  std::uint64_t follow(Session& service);
  void learn(const Session::Device& device);
  PortRecord toService(PortRecord port, client::Side side);
  void toConsole(Session& service, client::Side side, std::vector<PortRecord>& ports);
};

// Answers the number of the session that places tells of, which is the service's as far as it has answered.
std::uint64_t Patcher::State::follow(Session& service) {
  const std::lock_guard guard(mutex);
  const std::uint64_t number = service.number();
  if (number != followed && number != 0) {
    if (const auto device = service.device()) learn(*device);
  }
  return followed;
}

void Patcher::State::learn(const Session::Device& device) {
  places.follow(device.topology, device.session != followed);
  for (const auto& [id, name] : places.laterGroups()) GroupNameTable.publish(id, name);
  followed = device.session;
  ++version;
}

PortRecord Patcher::State::toService(PortRecord port, client::Side side) {
  const std::lock_guard guard(mutex);
  return places.toService({port.groupId, numbers.toService(port.groupId, port.portIndex, side)}, side);
}

// Turns the service's ports into the console's. Ports that have come since the beginning are known from then on; one
// that the service does not know has just gone.
void Patcher::State::toConsole(Session& service, client::Side side, std::vector<PortRecord>& ports) {
  const std::lock_guard guard(mutex);
  const auto isUnknown = [&](PortRecord port) { return !places.fromService(port, side); };
  if (std::ranges::any_of(ports, isUnknown) && std::chrono::steady_clock::now() >= nextRefresh) {
    const auto device = service.device();
    if (device && device->session == followed) learn(*device);
    if (std::ranges::any_of(ports, isUnknown)) nextRefresh = std::chrono::steady_clock::now() + RefreshInterval;
  }
  // The next answer may be another one, though the graph is the same.
  if (std::erase_if(ports, isUnknown) > 0) ++version;
  for (PortRecord& port : ports) {
    const PortRecord place = *places.fromService(port, side);
    port = {place.groupId, numbers.toConsole(place.groupId, place.portIndex, side)};
  }
}

namespace {

// A service that has come in place of the one that was thought of is asked once more, by its own places.
constexpr int Attempts = 2;

std::vector<GroupRecord> groupsOf(const wire::Topology& topology, const client::PortNumbers& numbers,
                                  client::Side side) {
  std::vector<GroupRecord> groups;
  for (const wire::TopologyGroup& group : topology.groups) {
    const auto& ports = side == client::Side::Source ? group.sources : group.sinks;
    if (ports) groups.push_back({group.id, numbers.count(group.id, side, ports->count)});
  }
  return groups;
}

StreamResult toResult(const std::optional<wire::Status>& status) {
  if (!status) return StrmRes_NoService;
  switch (*status) {
    case wire::Status::Ok:
    case wire::Status::Nothing:
      return StrmRes_Success;
    case wire::Status::NotFound:
      return StrmRes_NotFound;
    case wire::Status::NoSession:
      return StrmRes_NoService;
    case wire::Status::BadRequest:
    case wire::Status::Refused:
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
  const wire::Topology& topology = device->topology;
  for (const wire::TopologyGroup& group : topology.groups) GroupNameTable.publish(group.id, group.name);
  state_->numbers = client::PortNumbers(topology);
  // The other types have no streams.
  if (streamType == 0) {
    state_->sources = groupsOf(topology, state_->numbers, client::Side::Source);
    state_->sinks = groupsOf(topology, state_->numbers, client::Side::Sink);
  }
  state_->places = client::PortPlaces(std::move(device->topology));
  state_->followed = device->session;
}

StreamResult Patcher::State::patch(bool made, const wire::LinkRecord& link) {
  const auto service = session.lock();
  if (!service) return StrmRes_NoService;
  std::optional<wire::Status> status;
  for (int attempt = 0; attempt < Attempts; ++attempt) {
    const std::uint64_t number = follow(*service);
    const PortRecord source = toService({link.sourceGroup, link.sourceIndex}, client::Side::Source);
    const PortRecord sink = toService({link.sinkGroup, link.sinkIndex}, client::Side::Sink);
    status = service->patch(made, {source.groupId, source.portIndex, sink.groupId, sink.portIndex}, number);
    if (status != wire::Status::NoSession) break;
  }
  return toResult(status);
}

StreamResult Patcher::State::peers(PortRecord port, client::Side side, AskPeers ask, std::vector<PortRecord>& result) {
  result.clear();
  const auto service = session.lock();
  if (!service) return StrmRes_NoService;
  for (int attempt = 0; attempt < Attempts; ++attempt) {
    const std::uint64_t number = follow(*service);
    if (!((*service).*ask)(toService(port, side), number, result)) continue;
    toConsole(*service, side == client::Side::Source ? client::Side::Sink : client::Side::Source, result);
    return StrmRes_Success;
  }
  // The graph may be the same when it answers again, and then this answer was another one.
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
  return state_->patch(true, {sourceGroup, sourcePort, sinkGroup, sinkPort});
}

StreamResult Patcher::disconnect(std::uint16_t sourceGroup, std::uint16_t sourcePort, std::uint16_t sinkGroup,
                                 std::uint16_t sinkPort) {
  return state_->patch(false, {sourceGroup, sourcePort, sinkGroup, sinkPort});
}

StreamResult Patcher::getConnectSourcePorts(std::uint16_t sinkGroup, std::uint16_t sinkPort,
                                            std::vector<PortRecord>& result) {
  return state_->peers({sinkGroup, sinkPort}, client::Side::Sink, &State::Session::sourcesOf, result);
}

StreamResult Patcher::getConnectSinkPorts(std::uint16_t sourceGroup, std::uint16_t sourcePort,
                                          std::vector<PortRecord>& result) {
  return state_->peers({sourceGroup, sourcePort}, client::Side::Source, &State::Session::sinksOf, result);
}

std::uint64_t Patcher::version() { return state_->currentVersion(); }

std::string Patcher::makeStreamPortName(unsigned /*streamType*/, std::uint16_t group, std::uint16_t port,
                                        int sink) const {
  const client::Side side = sink == 0 ? client::Side::Source : client::Side::Sink;
  const std::lock_guard guard(state_->mutex);
  return state_->places.name({group, state_->numbers.toService(group, port, side)}, side);
}

void Patcher::notifyAddGroup(std::uint16_t /*group*/) {}

void Patcher::notifyAddPort(std::uint16_t /*group*/, std::uint16_t /*port*/, int /*sink*/) {}

void Patcher::notifyRemoveGroup(std::uint16_t /*group*/) {}

}  // namespace StrmSrv
