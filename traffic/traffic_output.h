// Where the texts of messages go: process-wide state, and the one routine through which every such text passes.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "traffic/traffic_file.h"

namespace flowscope {

class TopologyShell;

enum TrafficMode : std::uint32_t {
  TrafficOff = 0,
  TrafficScreen = 1,
  TrafficScreenAndFile = 2,
};

// Written by the thread that runs commands, read by the one that prints.
struct TrafficOutput {
  std::atomic<TrafficMode> trafficMode = TrafficOff;
  TrafficFile trafficFile;  // written to in mode TrafficScreenAndFile
  // The second name that the monitor connects with: EvtSrv::DebugPortName, set before the first shell is made.
  const char* monitorTarget = nullptr;
};

static_assert(std::atomic<TrafficMode>::is_always_lock_free);

// The one of this process.
TrafficOutput& trafficOutput();

// Prints a piece of text on the shell's output, unpaged and in the default style, after writing it to the traffic
// file where the mode says so; then empties line. In mode TrafficOff it does nothing at all. Answers 1.
int printTraffic(TopologyShell& shell, std::string& line);

}  // namespace flowscope
