// Where the texts of messages go: process-wide state, and the one function that prints every such text.
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
  // The target passed to EventPort::connect: EvtSrv::DebugPortName, set before the first shell is created.
  const char* monitorTarget = nullptr;
};

static_assert(std::atomic<TrafficMode>::is_always_lock_free);

// Returns the one object of this process.
TrafficOutput& trafficOutput();

// Prints a piece of text on the shell's output, unpaged and in the default style, after writing it to the traffic file
// if the mode says so; then empties line. In mode TrafficOff it does nothing at all. Returns 1.
int printTraffic(TopologyShell& shell, std::string& line);

}  // namespace flowscope
