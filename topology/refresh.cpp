#include "topology/refresh.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "strmsrv.h"
#include "terminal/styled_text.h"
#include "topology/group_name.h"

namespace flowscope {

namespace {

constexpr std::size_t SourcePosition = 0;
constexpr std::size_t SinkPosition = 1;

// One refresh: where in the filter it is, and what it looks up for every port.
class Refresh {
 public:
  Refresh(TopologyShell& shell, StrmSrv::Patcher& patcher, const PathComponents& filter)
      : patcher_(patcher), filter_(filter), attached_(shell.attached().begin(), shell.attached().end()) {}

  void run(TopologyNode& root) {
    for (const auto& type : root.children) {
      if (enters(*type)) enterType(*type);
    }
  }

 private:
  bool enters(const TopologyNode& node) {
    if (next_ == filter_.size()) return true;
    if (node.name != filter_[next_]) return false;
    ++next_;
    return true;
  }

  void enterType(TopologyNode& type) {
    for (std::size_t side = 0; side < type.children.size(); ++side) {
      if (enters(*type.children[side])) enterSide(*type.children[side], side);
    }
  }

  void enterSide(TopologyNode& node, std::size_t side) {
    const auto& groups = side == SinkPosition ? patcher_.sinkGroups() : patcher_.sourceGroups();
    for (std::size_t group = 0; group < node.children.size(); ++group) {
      if (enters(*node.children[group])) enterGroup(*node.children[group], side, groups.at(group).groupId);
    }
  }

  void enterGroup(TopologyNode& node, std::size_t side, std::uint16_t groupId) {
    for (std::size_t port = 0; port < node.children.size(); ++port) {
      if (enters(*node.children[port]))
        refreshPort(*node.children[port], side, groupId, static_cast<std::uint16_t>(port));
    }
  }

  void refreshPort(TopologyNode& node, std::size_t side, std::uint16_t groupId, std::uint16_t port) {
    node.children.clear();
    if (side == SinkPosition) {
      patcher_.getConnectSourcePorts(groupId, port, connected_);
    } else {
      patcher_.getConnectSinkPorts(groupId, port, connected_);
    }
    const int otherSide = side == SourcePosition ? 1 : 0;
    for (const auto& other : connected_) {
      const char* const name = groupName(other.groupId);
      TopologyNode* group = node.findChild(name);
      if (group == nullptr) group = &node.addChild(name);
      group->addChild(patcher_.makeStreamPortName(0, other.groupId, other.portIndex, otherSide));
    }
    if (!connected_.empty()) node.attributes = attached_.contains(node.name) ? AttrReverse : AttrBold;
  }

  StrmSrv::Patcher& patcher_;
  const PathComponents& filter_;
  std::size_t next_ = 0;
  std::unordered_set<std::string_view> attached_;
  std::vector<StrmSrv::PortRecord> connected_;
};

}  // namespace

void refreshTopology(TopologyShell& shell, const PathComponents& filter) {
  if (shell.patcher() != nullptr) Refresh(shell, *shell.patcher(), filter).run(shell.tree());
}

}  // namespace flowscope
