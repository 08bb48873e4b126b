// What the commands of topology/ need from the shell that runs them.
#pragma once

#include "strmsrv.h"
#include "terminal/console_output.h"
#include "topology/attached_list.h"
#include "topology/path.h"
#include "topology/refresh_round.h"
#include "topology/topology_node.h"

namespace flowscope {

// Only the thread that runs commands uses it. References are valid as long as the shell.
class TopologyShell {
 public:
  virtual ~TopologyShell() = default;

  virtual ConsoleOutput& output() = 0;

  // The root of the topology tree.
  virtual TopologyNode& tree() = 0;

  // The current directory. Call pathChanged after a change.
  virtual PathComponents& currentPath() = 0;

  // Updates the prompt and what "pwd" prints to the current directory.
  virtual void pathChanged() = 0;

  // Null until the shell is set up.
  virtual StrmSrv::Patcher* patcher() = 0;

  // The ports that the monitor is attached to, in the order of attaching. Only the thread that runs commands changes
  // it, under the attach mutex of TrafficShell.
  virtual AttachedList& attached() = 0;

  // For refreshTopology.
  virtual RefreshRound& refreshRound() = 0;
};

}  // namespace flowscope
