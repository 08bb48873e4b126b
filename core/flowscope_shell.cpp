#include "core/flowscope_shell.h"

#include "core/topology_setup.h"
#include "topology/change_directory.h"
#include "traffic/monitor_attachment.h"

namespace flowscope {

FlowScope::FlowScope(EvtSrv::EventPortManager& manager, bool quiet, ShellIo& io)
    : StatBase(manager, quiet, io), monitor_(manager, *this) {}

FlowScope::~FlowScope() { waitForInput(); }

ResultCode FlowScope::onCd(const char* path) { return changeDirectory(*this, path); }

ResultCode FlowScope::onCat(Options options, const char* pattern) { return catCommand(*this, options, pattern); }

ResultCode FlowScope::onTab(const char*, const char*) {
  lineEditor().drawPrompt(promptText());
  return ResultOk;
}

ResultCode FlowScope::onExit() { return onEnd(); }

ResultCode FlowScope::onEnd() { return endCommand(*this); }

ResultCode FlowScope::onTerminate() { return onEnd(); }

ResultCode FlowScope::onHelp() {
  system().run("man flowscope");
  return ResultOk;
}

void FlowScope::init(EvtSrv::EventPortManager& manager) {
  attached_.clear();
  currentPath_.clear();
  buildStreamTypes(topologyTree());
  patcher_ = std::make_unique<FlowScopePatcher>(manager, *this);
  buildGroups(topologyTree(), *patcher_);
}

}  // namespace flowscope
