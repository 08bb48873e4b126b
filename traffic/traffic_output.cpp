#include "traffic/traffic_output.h"

#include "topology/topology_shell.h"

namespace flowscope {

TrafficOutput& trafficOutput() {
  static TrafficOutput output;
  return output;
}

int printTraffic(TopologyShell& shell, std::string& line) {
  TrafficOutput& traffic = trafficOutput();
  const TrafficMode mode = traffic.trafficMode;
  if (mode == TrafficOff) return 1;
  if (mode == TrafficScreenAndFile) traffic.trafficFile.write(line);
  shell.output().writeStyled({0, 0, line.c_str()});
  line.clear();
  return 1;
}

}  // namespace flowscope
