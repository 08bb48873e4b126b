// What the commands of this room need of the shell that runs them.
#pragma once

#include "terminal/console_output.h"
#include "topology/path.h"
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
};

}  // namespace flowscope
