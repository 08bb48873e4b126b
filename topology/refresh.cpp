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
    if (side == SinkPosition) {
      patcher_.getConnectSourcePorts(groupId, port, connected_);
    } else {
      patcher_.getConnectSinkPorts(groupId, port, connected_);
    }
    const int otherSide = side == SourcePosition ? 1 : 0;
    if (!showsConnections(node, otherSide)) rebuild(node, otherSide);
    if (!connected_.empty()) node.attributes = attached_.contains(node.name) ? AttrReverse : AttrBold;
  }

  // Whether rebuilding a port would change nothing. Most ports keep their connections from one listing to the next,
  // and to compare costs a fraction of freeing and making the nodes.
  bool showsConnections(const TopologyNode& port, int otherSide) {
    const auto& groups = port.children;
    compared_.assign(groups.size(), 0);
    std::size_t seen = 0;
    for (const auto& other : connected_) {
      const std::string_view name = groupName(other.groupId);
      std::size_t at = 0;
      while (at < seen && groups[at]->name != name) ++at;
      if (at == groups.size() || groups[at]->name != name) return false;
      if (at == seen) ++seen;
      const auto& ports = groups[at]->children;
      if (compared_[at] == ports.size() || ports[compared_[at]]->name != nameOf(other, otherSide)) return false;
      ++compared_[at];
    }
    if (seen < groups.size()) return false;
    for (std::size_t at = 0; at < seen; ++at) {
      if (compared_[at] < groups[at]->children.size()) return false;
    }
    return true;
  }

  void rebuild(TopologyNode& port, int otherSide) {
    port.children.clear();
    for (const auto& other : connected_) {
      const char* const name = groupName(other.groupId);
      TopologyNode* group = port.findChild(name);
      if (group == nullptr) group = &port.addChild(name);
      group->addChild(nameOf(other, otherSide));
    }
  }

  std::string nameOf(const StrmSrv::PortRecord& port, int side) const {
    return patcher_.makeStreamPortName(0, port.groupId, port.portIndex, side);
  }

  StrmSrv::Patcher& patcher_;
  const PathComponents& filter_;
  std::size_t next_ = 0;
  std::unordered_set<std::string_view> attached_;
  std::vector<StrmSrv::PortRecord> connected_;
  std::vector<std::size_t> compared_;  // of each child of a port, how many of its ports stood where they belong
};

}  // namespace

void refreshTopology(TopologyShell& shell, const PathComponents& filter) {
  if (shell.patcher() != nullptr) Refresh(shell, *shell.patcher(), filter).run(shell.tree());
}

}  // namespace flowscope
