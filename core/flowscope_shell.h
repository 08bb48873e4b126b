// The shell of this program.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/flowscope_patcher.h"
#include "core/stat_base.h"
#include "kstd.h"
#include "traffic/flowscope_port_midi.h"
#include "traffic/traffic_shell.h"

namespace flowscope {

// Walks the streams of a device and shows their traffic. Commands that it does not override are accepted and do
// nothing.
class FlowScope : public StatBase, public TrafficShell {
 public:
  FlowScope(EvtSrv::EventPortManager& manager, bool quiet, ShellIo& io);

  // Blocks until the input thread has finished its last command.
  ~FlowScope() override;

  ResultCode onLs(Options options, const char* path) override;
  ResultCode onCd(const char* path) override;
  ResultCode onFrom(const char* file, const char* pattern) override;
  ResultCode onTo(const char* file, const char* pattern) override;
  ResultCode onCat(Options options, const char* pattern) override;
  ResultCode onCon(const char* source, const char* destination) override;
  ResultCode onDis(const char* source, const char* destination) override;
  // Completes the text in the line editor: the command, or the path argument. word: the first word of the line, with
  // its trailing blank if it is finished. argument: the word being typed behind it, or null. Always returns ResultOk.
  ResultCode onTab(const char* word, const char* argument) override;
  ResultCode onExit() override;
  ResultCode onEnd() override;
  ResultCode onTerminate() override;
  // Shows the manual page with the system's viewer. Returns ResultOk whatever the viewer's result is.
  ResultCode onHelp() override;

  // Stops the shell; writes to the traffic file no longer wait for its reader (see TrafficFile::stopWaiting).
  void inputEnded() override;

  // Creates the patcher and builds the topology tree from it. Call this once, before the first command. Blocks until
  // the service answers.
  virtual void init(EvtSrv::EventPortManager& manager);

  ConsoleOutput& output() override { return StatBase::output(); }
  TopologyNode& tree() override { return topologyTree(); }
  PathComponents& currentPath() override { return currentPath_; }
  void pathChanged() override { setPath(currentPath_); }
  FlowScopePortMIDI& monitor() override { return monitor_; }
  AttachedList& attached() override { return attached_; }
  RefreshRound& refreshRound() override { return refreshRound_; }
  KSTD::KThreadMutex& attachMutex() override { return attachMutex_; }
  StrmSrv::Patcher* patcher() override { return patcher_.get(); }

 private:
  AttachedList attached_;
  RefreshRound refreshRound_;
  KSTD::KThreadMutex attachMutex_;
  std::unique_ptr<FlowScopePatcher> patcher_;
  FlowScopePortMIDI monitor_;
  PathComponents currentPath_;
};

}  // namespace flowscope
