#include "traffic/logging.h"

#include <string>

#include "topology/path.h"
#include "topology/pattern.h"
#include "traffic/monitor_attachment.h"
#include "traffic/traffic_output.h"

namespace flowscope {

namespace {

ResultCode logPlace(TrafficShell& shell, const char* name, const char* path) {
  if (const ResultCode attached = attachMonitor(shell, path); attached != ResultOk) return attached;
  TrafficOutput& traffic = trafficOutput();
  if (!traffic.trafficFile.open(name)) return ResultOpenFileError;
  shell.output().resetPaging();
  traffic.trafficMode = TrafficScreenAndFile;
  return ResultOk;
}

}  // namespace

ResultCode toCommand(TrafficShell& shell, const char* name, const char* pattern) {
  if (name == nullptr) return ResultBadArgument;
  if (pattern == nullptr) return logPlace(shell, name, nullptr);

  // Below a port the current directory counts as the port, as it does for the attaching.
  ResultCode result = ResultSilent;
  for (const std::string& match : expandPattern(resolvePath(pattern, currentPlace(shell)), shell.tree())) {
    result = logPlace(shell, name, match.c_str());
  }
  return result;
}

}  // namespace flowscope
