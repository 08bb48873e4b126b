#include "core/stat_base.h"

#include <utility>

#include "core/line_executor.h"
#include "terminal/terminal_mode.h"

namespace flowscope {

namespace {
std::atomic<StatBase*> currentShell{nullptr};
}  // namespace

StatBase::StatBase(EvtSrv::EventPortManager& manager, bool quiet, ShellIo& io)
    : manager_(manager),
      io_(io),
      lineEditor_(*this, io.keys, io.out, quiet),
      output_(io.out, io.size, io.keys, quiet),
      quiet_(quiet) {
  currentShell = this;
  if (!quiet_) setTerminalMode(TerminalMode::Raw);
  lineEditor_.drawPrompt(StatBase::promptText());
  tree_ = std::make_unique<TopologyNode>();
}

StatBase::~StatBase() {
  if (!quiet_) setTerminalMode(TerminalMode::Saved);
}

ResultCode StatBase::onLs(Options, const char*) { return ResultSilent; }
ResultCode StatBase::onCd(const char*) { return ResultSilent; }
ResultCode StatBase::onSet(Options, const char*, const char*) { return ResultSilent; }
ResultCode StatBase::onStr(const char*, const char*) { return ResultSilent; }
ResultCode StatBase::onGet(const char*) { return ResultSilent; }
ResultCode StatBase::onEu(Options, const char*) { return ResultSilent; }
ResultCode StatBase::onDu(const char*) { return ResultSilent; }
ResultCode StatBase::onConvert(const char*, const char*) { return ResultSilent; }
ResultCode StatBase::onFrom(const char*, const char*) { return ResultSilent; }
ResultCode StatBase::onTo(const char*, const char*) { return ResultSilent; }
ResultCode StatBase::onCat(Options, const char*) { return ResultSilent; }
ResultCode StatBase::onCon(const char*, const char*) { return ResultSilent; }
ResultCode StatBase::onDis(const char*, const char*) { return ResultSilent; }
ResultCode StatBase::onLoad(const char*) { return ResultSilent; }
ResultCode StatBase::onSave(const char*) { return ResultSilent; }
ResultCode StatBase::onRn(const char*, const char*) { return ResultSilent; }
ResultCode StatBase::onRm(const char*) { return ResultSilent; }
ResultCode StatBase::onMkdir(const char*) { return ResultSilent; }
ResultCode StatBase::onTab(const char*, const char*) { return ResultSilent; }
ResultCode StatBase::onExit() { return ResultSilent; }
ResultCode StatBase::onEnd() { return ResultSilent; }
ResultCode StatBase::onTerminate() { return ResultSilent; }
ResultCode StatBase::onBt(Options, const char*) { return ResultSilent; }
ResultCode StatBase::onHelp() { return ResultSilent; }
ResultCode StatBase::onOther(const char*, const char*, const char*) { return ResultSilent; }

StatBase* StatBase::current() { return currentShell; }

void StatBase::setRunning(bool running) {
  running_ = running;
  lineEditor_.setRunning(running);
}

void StatBase::openInput() { lineEditor_.openGate(); }

void StatBase::waitForInput() { lineEditor_.waitForInput(); }

void StatBase::setPromptLabel(const std::string& label) {
  promptLabel_ = label;
  lineEditor_.drawPrompt(promptText());
}

std::string StatBase::promptText() { return promptLabel_ + ' ' + (path_.empty() ? "/" : path_.back()); }

ResultCode StatBase::runEditedLine(const std::string& line) { return runCommands(*current(), line); }

void StatBase::inputEnded() { setRunning(false); }

}  // namespace flowscope
