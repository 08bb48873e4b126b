// What the commands of this room need of the shell that runs them.
#pragma once

#include <string>
#include <vector>

#include "kstd.h"
#include "strmsrv.h"
#include "topology/topology_shell.h"

namespace flowscope {

class FlowScopePortMIDI;

// References live as long as the shell.
class TrafficShell : public TopologyShell {
 public:
  // The port that receives copies of the traffic.
  virtual FlowScopePortMIDI& monitor() = 0;

  // Names of the ports that the monitor is attached to, in the order of attaching, none twice. Changed on the thread
  // that runs commands, under the attach mutex.
  virtual std::vector<std::string>& attached() = 0;

  // Held around each connect or disconnect of the monitor together with the change of attached(), and nowhere else.
  virtual KSTD::KThreadMutex& attachMutex() = 0;

  // Null until the shell is set up.
  virtual StrmSrv::Patcher* patcher() = 0;
};

}  // namespace flowscope
