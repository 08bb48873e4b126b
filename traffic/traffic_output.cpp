#include "traffic/traffic_output.h"

#include "terminal/waiting_stream.h"
#include "topology/topology_shell.h"

namespace flowscope {

namespace {

// Whether this thread has a turn.
thread_local bool collecting = false;

}  // namespace

TrafficOutput& trafficOutput() {
  static TrafficOutput output;
  return output;
}

int printTraffic(TopologyShell& shell, std::string& line) {
  TrafficOutput& traffic = trafficOutput();
  const TrafficMode mode = traffic.trafficMode;
  if (mode == TrafficOff) return 1;
  const StyledText item{0, 0, line.c_str()};
  if (!collecting) {
    if (mode == TrafficScreenAndFile) traffic.trafficFile.write(line);
    shell.output().writeStyled(item);
  } else {
    if (mode == TrafficScreenAndFile) traffic.trafficFile.collect(line);
    while (!traffic.collectedScreen.append(shell.output(), item)) writeCollected();
  }
  line.clear();
  return 1;
}

TrafficTurn::TrafficTurn(TopologyShell& shell) {
  trafficOutput().collectedScreen.useStream(shell.output().stream());
  collecting = true;
}

TrafficTurn::~TrafficTurn() {
  writeCollected();
  collecting = false;
}

void writeCollected() {
  TrafficOutput& traffic = trafficOutput();
  // What arrives meanwhile may not be in the file yet.
  const PendingText::Mark mark = traffic.collectedScreen.end();
  if (collecting) {
    traffic.trafficFile.flush();
  } else if (!traffic.trafficFile.flushNow()) {
    return;
  }
  traffic.collectedScreen.writeBefore(mark);
}

}  // namespace flowscope
