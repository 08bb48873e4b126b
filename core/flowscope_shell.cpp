#include "core/flowscope_shell.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string_view>

#include "core/command_table.h"
#include "core/manual_path.h"
#include "core/topology_setup.h"
#include "terminal/completion.h"
#include "topology/change_directory.h"
#include "topology/listing.h"
#include "topology/path_completion.h"
#include "traffic/from_command.h"
#include "traffic/monitor_attachment.h"
#include "traffic/port_connections.h"
#include "traffic/to_command.h"
#include "traffic/traffic_output.h"

namespace flowscope {

namespace {

// The commands that completion offers, in this order.
constexpr std::array CompletedCommands{CommandIndex::Cat,  CommandIndex::Cd,   CommandIndex::Con,
                                       CommandIndex::Dis,  CommandIndex::End,  CommandIndex::Exit,
                                       CommandIndex::From, CommandIndex::Ls,   CommandIndex::Terminate,
                                       CommandIndex::To,   CommandIndex::Help, CommandIndex::Quit};

constexpr auto CompletedNames = [] {
  std::array<std::string_view, CompletedCommands.size()> names;
  std::ranges::transform(CompletedCommands, names.begin(), [](CommandIndex index) { return rowOf(index).name; });
  return names;
}();

}  // namespace

FlowScope::FlowScope(EvtSrv::EventPortManager& manager, bool quiet, ShellIo& io)
    : StatBase(manager, quiet, io), monitor_(manager, *this) {}

FlowScope::~FlowScope() { waitForInput(); }

ResultCode FlowScope::onLs(Options options, const char* path) { return listCommand(*this, options, path); }

ResultCode FlowScope::onCd(const char* path) { return changeDirectory(*this, path); }

ResultCode FlowScope::onFrom(const char* file, const char* pattern) { return fromCommand(*this, file, pattern); }

ResultCode FlowScope::onTo(const char* file, const char* pattern) { return toCommand(*this, file, pattern); }

ResultCode FlowScope::onCat(Options options, const char* pattern) { return catCommand(*this, options, pattern); }

ResultCode FlowScope::onCon(const char* source, const char* destination) {
  return conCommand(*this, source, destination);
}

ResultCode FlowScope::onDis(const char* source, const char* destination) {
  return disCommand(*this, source, destination);
}

ResultCode FlowScope::onTab(const char* word, const char* argument) {
  if (argument == nullptr) {
    if (const auto commands = matchCommandSet(CompletedNames, word)) {
      offerCommands(lineEditor(), output(), promptText(), *commands);
      return ResultOk;
    }
  }
  std::vector<std::string> paths;
  try {
    paths = collectPathCandidates(argument, currentPath_, tree());
  } catch (const std::out_of_range&) {
    // A path that is invalid here has no completion either.
  }
  offerPaths(lineEditor(), output(), promptText(), paths);
  return ResultOk;
}

ResultCode FlowScope::onExit() { return onEnd(); }

ResultCode FlowScope::onEnd() { return endCommand(*this); }

ResultCode FlowScope::onTerminate() { return onEnd(); }

ResultCode FlowScope::onHelp() {
  const ManualPathScope pages;
  system().run("man flowscope");
  return ResultOk;
}

void FlowScope::inputEnded() {
  trafficOutput().trafficFile.stopWaiting();
  StatBase::inputEnded();
}

void FlowScope::init(EvtSrv::EventPortManager& manager) {
  attached_.clear();
  currentPath_.clear();
  buildStreamTypes(topologyTree());
  patcher_ = std::make_unique<FlowScopePatcher>(manager, *this);
  buildGroups(topologyTree(), *patcher_);
}

}  // namespace flowscope
