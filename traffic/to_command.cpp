#include "traffic/to_command.h"

#include <cerrno>
#include <string>
#include <utility>

#include "terminal/error_line.h"
#include "topology/path.h"
#include "topology/pattern.h"
#include "traffic/monitor_attachment.h"
#include "traffic/open_file.h"
#include "traffic/traffic_output.h"

namespace flowscope {

namespace {

struct Opened {
  ResultCode result = ResultSilent;
  bool descriptorsKept = false;
};

Opened openAt(TrafficShell& shell, const char* name, const char* path) {
  if (const ResultCode attached = attachMonitor(shell, path); attached != ResultOk) return {attached};
  TrafficOutput& traffic = trafficOutput();
  writeCollected();
  if (!traffic.trafficFile.open(name)) return {ResultOpenFileError, errno == EMFILE};
  shell.output().resetPaging();
  traffic.trafficMode = TrafficScreenAndFile;
  return {ResultOk};
}

}  // namespace

ResultCode toCommand(TrafficShell& shell, const char* name, const char* pattern) {
  if (name == nullptr) return ResultBadArgument;
  if (pattern == nullptr) {
    const Opened file = openAt(shell, name, nullptr);
    if (file.descriptorsKept) tellDescriptorsAreKept(name);
    return file.result;
  }

  // Below a port the current directory counts as the port, as it does for the attaching.
  const auto matches = expandPattern(resolvePath(pattern, currentPlace(shell)), shell.tree());
  ResultCode result = ResultSilent;
  std::size_t opened = 0;
  bool told = false;
  for (const std::string& match : matches) {
    const Opened file = openAt(shell, name, match.c_str());
    result = file.result;
    if (result == ResultOk) ++opened;
    if (!file.descriptorsKept || std::exchange(told, true)) continue;
    if (opened == 0) {
      tellDescriptorsAreKept(name);
    } else {
      sayError("too many matches for " + std::string(name) + ": it cannot be opened more than " +
               std::to_string(opened) + " times");
    }
  }
  return result;
}

}  // namespace flowscope
