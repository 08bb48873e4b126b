// A shell for tests of this room: its output goes to a memory stream.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/fakes.h"
#include "tests/support/memory_stream.h"
#include "tests/topology/sample_tree.h"
#include "traffic/flowscope_port_midi.h"
#include "traffic/traffic_output.h"
#include "traffic/traffic_shell.h"

namespace flowscope {

class TestShell : public TrafficShell {
 public:
  explicit TestShell(EvtSrv::EventPortManager& manager, bool quiet = true)
      : manager_(manager), output_(out_.stream(), size_, keys_, quiet), monitor_(manager, *this) {}
  TestShell(const TestShell&) = delete;
  TestShell& operator=(const TestShell&) = delete;

  // The traffic output is the process's: a test leaves it as it found it.
  ~TestShell() override {
    trafficOutput().trafficMode = TrafficOff;
    trafficOutput().trafficFile.close();
  }

  ConsoleOutput& output() override { return output_; }
  TopologyNode& tree() override { return *tree_; }
  PathComponents& currentPath() override { return path_; }
  void pathChanged() override {}
  FlowScopePortMIDI& monitor() override { return monitor_; }
  AttachedList& attached() override { return attached_; }
  RefreshRound& refreshRound() override { return round_; }
  KSTD::KThreadMutex& attachMutex() override { return mutex_; }
  StrmSrv::Patcher* patcher() override { return patcher_.get(); }

  // What was printed since the last call.
  std::string printed() { return out_.take(); }

  // What is typed at "More"; then the input ends. In a window of so many rows.
  void type(const std::string& keys, int rows) {
    keys_.type(keys);
    size_.rowCount = rows;
  }

  void setTree(std::unique_ptr<TopologyNode> tree) { tree_ = std::move(tree); }
  // Another patcher, which knows the device as it is now.
  void renewPatcher() { patcher_ = std::make_unique<StrmSrv::Patcher>(manager_, 0); }
  void removePatcher() { patcher_.reset(); }

 private:
  EvtSrv::EventPortManager& manager_;
  test::MemoryStream out_;
  test::FixedSize size_;
  test::ScriptedKeys keys_;
  ConsoleOutput output_;
  std::unique_ptr<TopologyNode> tree_ = std::make_unique<TopologyNode>("/");
  PathComponents path_;
  AttachedList attached_;
  RefreshRound round_;
  KSTD::KThreadMutex mutex_;
  std::unique_ptr<StrmSrv::Patcher> patcher_;
  FlowScopePortMIDI monitor_;
};

}  // namespace flowscope
