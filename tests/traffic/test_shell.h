// A shell for tests of this room: its output goes to a memory stream.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "tests/topology/sample_tree.h"
#include "traffic/flowscope_port_midi.h"
#include "traffic/traffic_output.h"
#include "traffic/traffic_shell.h"

namespace flowscope {

class TestShell : public TrafficShell {
 public:
  explicit TestShell(EvtSrv::EventPortManager& manager, bool quiet = true)
      : output_(out_, size_, keys_, quiet), monitor_(manager, *this) {}
  TestShell(const TestShell&) = delete;
  TestShell& operator=(const TestShell&) = delete;

  // The traffic output is the process's: a test leaves it as it found it.
  ~TestShell() override {
    trafficOutput().trafficMode = TrafficOff;
    trafficOutput().trafficFile.close();
    std::fclose(out_);
    std::free(text_);  // NOLINT(*no-malloc): open_memstream's
  }

  ConsoleOutput& output() override { return output_; }
  TopologyNode& tree() override { return *tree_; }
  PathComponents& currentPath() override { return path_; }
  void pathChanged() override {}
  FlowScopePortMIDI& monitor() override { return monitor_; }
  std::vector<std::string>& attached() override { return attached_; }
  KSTD::KThreadMutex& attachMutex() override { return mutex_; }
  StrmSrv::Patcher* patcher() override { return patcher_.get(); }

  // What was printed since the last call.
  std::string printed() {
    std::fflush(out_);
    std::string text = text_ == nullptr ? std::string() : std::string(text_, length_);
    std::rewind(out_);
    std::fflush(out_);
    return text;
  }

  void setTree(std::unique_ptr<TopologyNode> tree) { tree_ = std::move(tree); }
  void setPatcher(std::unique_ptr<StrmSrv::Patcher> patcher) { patcher_ = std::move(patcher); }

 private:
  class Size : public TerminalSize {
   public:
    int rows() override { return 24; }
    int columns() override { return 80; }
  };
  class NoKeys : public KeySource {
   public:
    int readByte() override { return EndOfInput; }
  };

  char* text_ = nullptr;
  std::size_t length_ = 0;
  std::FILE* out_ = open_memstream(&text_, &length_);
  Size size_;
  NoKeys keys_;
  ConsoleOutput output_;
  std::unique_ptr<TopologyNode> tree_ = std::make_unique<TopologyNode>("/");
  PathComponents path_;
  std::vector<std::string> attached_;
  KSTD::KThreadMutex mutex_;
  std::unique_ptr<StrmSrv::Patcher> patcher_;
  FlowScopePortMIDI monitor_;
};

}  // namespace flowscope
