// What the commands of this room need of the shell that runs them.
#pragma once

#include "strmsrv.h"
#include "terminal/console_output.h"
#include "topology/attached_list.h"
#include "topology/path.h"
#include "topology/refresh_round.h"
#include "topology/topology_node.h"

namespace flowscope {

// Used on the thread that runs commands. References live as long as the shell.
class TopologyShell {
 public:
  virtual ~TopologyShell() = default;

  virtual ConsoleOutput& output() = 0;

  // The root of the topology tree.
  virtual TopologyNode& tree() = 0;

  // The current directory. Whoever changes it calls pathChanged.
  virtual PathComponents& currentPath() = 0;

  // Takes the current directory over into the prompt and into what "pwd" prints.
  virtual void pathChanged() = 0;

  // Null until the shell is set up.
  virtual StrmSrv::Patcher* patcher() = 0;

  // The ports that the monitor is attached to, in the order of attaching. Changed on the thread that runs commands,
  // under the attach mutex of TrafficShell.
  virtual AttachedList& attached() = 0;

  // For refreshTopology.
  virtual RefreshRound& refreshRound() = 0;
};

}  // namespace flowscope
