#include <optional>
#include <utility>

#include "platform/client/port_names.h"
#include "platform/client/session.h"
#include "strmsrv.h"

namespace StrmSrv {

struct Patcher::State {
  std::weak_ptr<EvtSrv::EventPortManager::Session> session;
  client::PortNames names{wire::Topology{}};
  std::vector<GroupRecord> sources;
  std::vector<GroupRecord> sinks;
};

namespace {

using SessionPointer = std::shared_ptr<EvtSrv::EventPortManager::Session>;

std::vector<GroupRecord> groupsOf(const wire::Topology& topology,
                                  std::optional<wire::TopologySide> wire::TopologyGroup::*side) {
  std::vector<GroupRecord> groups;
  for (const wire::TopologyGroup& group : topology.groups) {
    if (group.*side) groups.push_back({group.id, (group.*side)->count});
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

StreamResult patch(const SessionPointer& session, bool made, const wire::LinkRecord& link) {
  return session ? toResult(session->patch(made, link)) : StrmRes_NoService;
}

}  // namespace

Patcher::Patcher(EvtSrv::EventPortManager& manager, unsigned streamType) : state_(std::make_unique<State>()) {
  const auto& session = manager.session();
  if (!session) return;
  state_->session = session;
  auto topology = session->topology();
  if (!topology) return;
  for (const wire::TopologyGroup& group : topology->groups) GroupNameTable.publish(group.id, group.name);
  // The other types have no streams.
  if (streamType == 0) {
    state_->sources = groupsOf(*topology, &wire::TopologyGroup::sources);
    state_->sinks = groupsOf(*topology, &wire::TopologyGroup::sinks);
  }
  state_->names = client::PortNames(std::move(*topology));
}

Patcher::~Patcher() = default;

const std::vector<GroupRecord>& Patcher::sourceGroups() const noexcept { return state_->sources; }

const std::vector<GroupRecord>& Patcher::sinkGroups() const noexcept { return state_->sinks; }

StreamResult Patcher::connect(std::uint16_t sourceGroup, std::uint16_t sourcePort, std::uint16_t sinkGroup,
                              std::uint16_t sinkPort) {
  return patch(state_->session.lock(), true, {sourceGroup, sourcePort, sinkGroup, sinkPort});
}

StreamResult Patcher::disconnect(std::uint16_t sourceGroup, std::uint16_t sourcePort, std::uint16_t sinkGroup,
                                 std::uint16_t sinkPort) {
  return patch(state_->session.lock(), false, {sourceGroup, sourcePort, sinkGroup, sinkPort});
}

StreamResult Patcher::getConnectSourcePorts(std::uint16_t sinkGroup, std::uint16_t sinkPort,
                                            std::vector<PortRecord>& result) {
  result.clear();
  const auto session = state_->session.lock();
  return session && session->sourcesOf({sinkGroup, sinkPort}, result) ? StrmRes_Success : StrmRes_NoService;
}

StreamResult Patcher::getConnectSinkPorts(std::uint16_t sourceGroup, std::uint16_t sourcePort,
                                          std::vector<PortRecord>& result) {
  result.clear();
  const auto session = state_->session.lock();
  return session && session->sinksOf({sourceGroup, sourcePort}, result) ? StrmRes_Success : StrmRes_NoService;
}

std::string Patcher::makeStreamPortName(unsigned /*streamType*/, std::uint16_t group, std::uint16_t port,
                                        int sink) const {
  return state_->names.name(group, port, sink == 0 ? client::Side::Source : client::Side::Sink);
}

void Patcher::notifyAddGroup(std::uint16_t /*group*/) {}

void Patcher::notifyAddPort(std::uint16_t /*group*/, std::uint16_t /*port*/, int /*sink*/) {}

void Patcher::notifyRemoveGroup(std::uint16_t /*group*/) {}

}  // namespace StrmSrv
