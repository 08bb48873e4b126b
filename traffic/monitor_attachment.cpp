#include "traffic/monitor_attachment.h"

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "topology/pattern.h"
#include "traffic/flowscope_port_midi.h"
#include "traffic/port_position.h"
#include "traffic/traffic_output.h"

namespace flowscope {

namespace {

constexpr std::size_t PortDepth = 4;

// Returns the name of the port that a path leads to; for a null path, of the port that contains the current directory.
// nullopt if there is none.
std::optional<std::string> portNameAt(TrafficShell& shell, const char* path) {
  PathComponents place = currentPlace(shell);
  if (path != nullptr) {
    auto found = lookupPath(resolvePath(path, place), shell.tree());
    if (!found) return std::nullopt;
    place = std::move(*found);
  }
  if (place.size() < PortDepth) return std::nullopt;
  return std::move(place.back());
}

EvtSrv::EventResult attachName(TrafficShell& shell, const std::string& name, const char* target,
                               EvtSrv::MemoryHolder& holder) {
  if (shell.attached().contains(name)) return EvtSrv::EvtRes_Success;
  const std::lock_guard<KSTD::KThreadMutex> lock(shell.attachMutex());
  const EvtSrv::EventResult result =
      shell.monitor().connect(name.c_str(), target, nullptr, &holder, EvtSrv::ConBehave_Void);
  if (result == EvtSrv::EvtRes_Success) shell.attached().add(name);
  return result;
}

// Uses only the stream type and the side of position.
void attachGroup(TrafficShell& shell, const StrmSrv::GroupRecord& group, const PortPosition& position) {
  EvtSrv::MemoryHolder holder(MonitorEventBytes);
  for (std::uint16_t port = 0; port < group.portCount; ++port) {
    const std::string name = portName(*shell.patcher(), *position.streamType, group.groupId, port, *position.side);
    attachName(shell, name, trafficOutput().monitorTarget, holder);
  }
}

ResultCode attachWithTarget(TrafficShell& shell, const char* path) {
  EvtSrv::MemoryHolder holder(MonitorEventBytes);
  const EvtSrv::EventResult result = attachPort(shell, path, trafficOutput().monitorTarget, holder);
  return result == EvtSrv::EvtRes_Success ? ResultOk : ResultConnectError;
}

}  // namespace

PathComponents currentPlace(TrafficShell& shell) {
  PathComponents place = shell.currentPath();
  if (place.size() > PortDepth) place.resize(PortDepth);
  return place;
}

EvtSrv::EventResult attachPort(TrafficShell& shell, const char* path, const char* target,
                               EvtSrv::MemoryHolder& holder) {
  const auto name = portNameAt(shell, path);
  return name ? attachName(shell, *name, target, holder) : EvtSrv::EvtRes_DoNothing;
}

ResultCode attachBelowCurrent(TrafficShell& shell) {
  if (!shell.attached().empty()) return ResultOk;
  const StrmSrv::Patcher* patcher = shell.patcher();
  if (patcher == nullptr) return ResultSilent;

  const PathComponents& place = shell.currentPath();
  const PortPosition position = parsePortPosition(place, *patcher);
  if (!position.inStreamDirectory()) return ResultBadArgument;

  const auto& groups = groupsOf(*patcher, *position.side);
  if (!position.group) {
    const bool atSide = place.size() == 2;
    if (!atSide) return ResultBadArgument;
    for (const StrmSrv::GroupRecord& group : groups) attachGroup(shell, group, position);
    return ResultOk;
  }

  const std::uint16_t count = portCountOf(groups, *position.group);
  if (position.port && *position.port <= count) {  // also if equal to the count: attachPort decides
    return attachWithTarget(shell, nullptr);
  }
  attachGroup(shell, {*position.group, count}, position);
  return ResultOk;
}

ResultCode attachMonitor(TrafficShell& shell, const char* path) {
  return path != nullptr ? attachWithTarget(shell, path) : attachBelowCurrent(shell);
}

void detachAll(TrafficShell& shell) {
  const std::lock_guard<KSTD::KThreadMutex> lock(shell.attachMutex());
  shell.monitor().disconnect(nullptr, nullptr);
  shell.attached().clear();
}

EvtSrv::EventResult detachPort(TrafficShell& shell, const char* path) {
  const auto name = portNameAt(shell, path);
  if (!name || !shell.attached().contains(*name)) return EvtSrv::EvtRes_DoNothing;
  const std::lock_guard<KSTD::KThreadMutex> lock(shell.attachMutex());
  const EvtSrv::EventResult result = shell.monitor().disconnect(name->c_str(), nullptr);
  shell.attached().remove(*name);
  return result;
}

ResultCode catCommand(TrafficShell& shell, Options options, const char* pattern) {
  std::string resolved;
  if (pattern != nullptr) resolved = resolvePath(pattern, shell.currentPath());

  // First: it may wait for the screen, and what arrives meanwhile still goes to the file.
  writeCollected();
  shell.monitor().setLabelled((options & LabelledOption) != 0);
  trafficOutput().trafficMode = TrafficScreen;
  trafficOutput().trafficFile.stopWaiting();
  if (pattern == nullptr) return attachBelowCurrent(shell);

  ResultCode result = ResultSilent;
  for (const std::string& match : expandPattern(resolved, shell.tree())) {
    result = attachMonitor(shell, match.c_str());
  }
  return result;
}

ResultCode endCommand(TrafficShell& shell) {
  // The printing thread may hold what detaching needs while it waits for a reader.
  trafficOutput().trafficFile.stopWaiting();
  detachAll(shell);
  writeCollected();
  trafficOutput().trafficFile.close();
  trafficOutput().trafficMode = TrafficOff;
  return ResultOk;
}

}  // namespace flowscope
