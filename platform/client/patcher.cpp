#include <algorithm>
#include <chrono>
#include <mutex>
#include <optional>
#include <utility>

#include "platform/client/port_names.h"
#include "platform/client/port_numbers.h"
#include "platform/client/session.h"
#include "strmsrv.h"

namespace StrmSrv {

namespace {

// An unknown port may stay unknown, and is not asked for again and again.
constexpr std::chrono::milliseconds RefreshInterval{100};

}  // namespace

struct Patcher::State {
  std::weak_ptr<EvtSrv::EventPortManager::Session> session;
  std::vector<GroupRecord> sources;
  std::vector<GroupRecord> sinks;

  std::mutex mutex;  // for all below
  client::PortNumbers numbers;
  client::PortNames names{wire::Topology{}};  // of the ports there were at first
  client::PortNames later{wire::Topology{}};  // and of those there are now, as far as known
  std::chrono::steady_clock::time_point nextRefresh;

  bool knows(PortRecord port, client::Side side) const {
    return names.has(port.groupId, port.portIndex, side) || later.has(port.groupId, port.portIndex, side);
  }
  StreamResult patch(bool made, wire::LinkRecord link);
  PortRecord toService(std::uint16_t group, std::uint16_t port, client::Side side);
  void toConsole(EvtSrv::EventPortManager::Session& service, client::Side side, std::vector<PortRecord>& ports);
};

// Turns the service's ports into the console's. Ports that have come since the beginning have names from then on.
void Patcher::State::toConsole(EvtSrv::EventPortManager::Session& service, client::Side side,
                               std::vector<PortRecord>& ports) {
  const std::lock_guard guard(mutex);
  const auto isUnknown = [&](PortRecord port) { return !knows(port, side); };
  if (std::ranges::any_of(ports, isUnknown) && std::chrono::steady_clock::now() >= nextRefresh) {
    if (auto topology = service.topology()) {
      for (const wire::TopologyGroup& group : topology->groups) GroupNameTable.publish(group.id, group.name);
      later = client::PortNames(std::move(*topology));
    }
    nextRefresh = std::chrono::steady_clock::now() + RefreshInterval;
  }
  for (PortRecord& port : ports) port.portIndex = numbers.toConsole(port.groupId, port.portIndex, side);
}

namespace {

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
  auto topology = session->topology();
  if (!topology) return;
  for (const wire::TopologyGroup& group : topology->groups) GroupNameTable.publish(group.id, group.name);
  state_->numbers = client::PortNumbers(*topology);
  // The other types have no streams.
  if (streamType == 0) {
    state_->sources = groupsOf(*topology, state_->numbers, client::Side::Source);
    state_->sinks = groupsOf(*topology, state_->numbers, client::Side::Sink);
  }
  state_->names = client::PortNames(std::move(*topology));
}

StreamResult Patcher::State::patch(bool made, wire::LinkRecord link) {
  const auto connected = session.lock();
  if (!connected) return StrmRes_NoService;
  link.sourceIndex = toService(link.sourceGroup, link.sourceIndex, client::Side::Source).portIndex;
  link.sinkIndex = toService(link.sinkGroup, link.sinkIndex, client::Side::Sink).portIndex;
  return toResult(connected->patch(made, link));
}

PortRecord Patcher::State::toService(std::uint16_t group, std::uint16_t port, client::Side side) {
  const std::lock_guard guard(mutex);
  return {group, numbers.toService(group, port, side)};
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
  result.clear();
  const auto session = state_->session.lock();
  if (!session || !session->sourcesOf(state_->toService(sinkGroup, sinkPort, client::Side::Sink), result)) {
    return StrmRes_NoService;
  }
  state_->toConsole(*session, client::Side::Source, result);
  return StrmRes_Success;
}

StreamResult Patcher::getConnectSinkPorts(std::uint16_t sourceGroup, std::uint16_t sourcePort,
                                          std::vector<PortRecord>& result) {
  result.clear();
  const auto session = state_->session.lock();
  if (!session || !session->sinksOf(state_->toService(sourceGroup, sourcePort, client::Side::Source), result)) {
    return StrmRes_NoService;
  }
  state_->toConsole(*session, client::Side::Sink, result);
  return StrmRes_Success;
}

std::string Patcher::makeStreamPortName(unsigned /*streamType*/, std::uint16_t group, std::uint16_t port,
                                        int sink) const {
  const client::Side side = sink == 0 ? client::Side::Source : client::Side::Sink;
  const std::lock_guard guard(state_->mutex);
  const std::uint16_t index = state_->numbers.toService(group, port, side);
  const bool cameLater = !state_->names.has(group, index, side) && state_->later.has(group, index, side);
  return (cameLater ? state_->later : state_->names).name(group, index, side);
}

void Patcher::notifyAddGroup(std::uint16_t /*group*/) {}

void Patcher::notifyAddPort(std::uint16_t /*group*/, std::uint16_t /*port*/, int /*sink*/) {}

void Patcher::notifyRemoveGroup(std::uint16_t /*group*/) {}

}  // namespace StrmSrv
