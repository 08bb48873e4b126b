// A shell on the recording library, with the device and the tree that a test lays out.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/traffic/recorded/recording_library.h"
#include "tests/traffic/test_shell.h"
#include "traffic/traffic_output.h"

namespace flowscope {

class RecordedTest : public testing::Test {
 protected:
  struct Device {
    std::vector<StrmSrv::GroupRecord> sources;
    std::vector<StrmSrv::GroupRecord> sinks;
    const char* tree = "";  // as treeOf reads it
  };

  explicit RecordedTest(const Device& device, bool quiet = true) : tree(device.tree), shell(manager, quiet) {
    recording::reset();
    recording::library().sources = device.sources;
    recording::library().sinks = device.sinks;
    trafficOutput().monitorTarget = EvtSrv::DebugPortName;
    setUpShell(shell);
  }

  // Gives a shell the tree, and a patcher that knows the device as it is now.
  void setUpShell(TestShell& each) {
    each.renewPatcher();
    each.setTree(treeOf(tree));
  }

  static std::vector<std::string>& calls() { return recording::library().calls; }

  const char* tree;
  EvtSrv::EventPortManager manager{EvtSrv::ConBehave_Default, true};
  TestShell shell;
};

}  // namespace flowscope
