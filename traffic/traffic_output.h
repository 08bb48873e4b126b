// Where the texts of messages go: process-wide state, and the one function that prints every such text.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "traffic/collected_screen.h"
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
  CollectedScreen collectedScreen;  // made before the file, so that a signal handler writes it after the file
  TrafficFile trafficFile;          // written to in mode TrafficScreenAndFile
  // The target passed to EventPort::connect: EvtSrv::DebugPortName, set before the first shell is created.
  const char* monitorTarget = nullptr;
};

static_assert(std::atomic<TrafficMode>::is_always_lock_free);

// Returns the one object of this process.
TrafficOutput& trafficOutput();

// Prints a piece of text on the shell's output, unpaged and in the default style, after writing it to the traffic file
// if the mode says so; then empties line. Inside a TrafficTurn of the calling thread it collects the text for both. In
// mode TrafficOff it does nothing at all. Returns 1.
int printTraffic(TopologyShell& shell, std::string& line);

// One turn of the event loop, on the thread that prints. Until its end, the texts of printTraffic are collected; then
// they are written, all to the traffic file first and then all to the screen, with one write each. They are also
// written when 64 KiB wait, and by writeCollected. One at a time.
class TrafficTurn {
 public:
  explicit TrafficTurn(TopologyShell& shell);
  TrafficTurn(const TrafficTurn&) = delete;
  TrafficTurn& operator=(const TrafficTurn&) = delete;
  // Blocks as the traffic file and the screen do.
  ~TrafficTurn();
};

// Writes what the turn has collected, to the file first. On the thread of the turn it blocks as its end does. Another
// thread calls it before it changes the file or the mode; it does not wait for the reader of the file: without room
// there, the rest is left to the thread of the turn. Does nothing outside a turn.
void writeCollected();

}  // namespace flowscope
