// What the commands of traffic/ need from the shell that runs them.
#pragma once

#include "kstd.h"
#include "topology/topology_shell.h"

namespace flowscope {

class FlowScopePortMIDI;

// References are valid as long as the shell.
class TrafficShell : public TopologyShell {
 public:
  // The port that receives copies of the traffic.
  virtual FlowScopePortMIDI& monitor() = 0;

  // Held during each connect or disconnect of the monitor together with the change of attached(), and nowhere else.
  virtual KSTD::KThreadMutex& attachMutex() = 0;
};

}  // namespace flowscope
