#include "topology/refresh.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "strmsrv.h"
#include "terminal/styled_text.h"
#include "topology/group_name.h"

namespace flowscope {

namespace {

constexpr std::size_t SourcePosition = 0;
constexpr std::size_t SinkPosition = 1;

// One refresh: its position in the filter, and what it needs for every port.
class Refresh {
 public:
  Refresh(TopologyShell& shell, StrmSrv::Patcher& patcher, const PathComponents& filter)
      : patcher_(patcher), filter_(filter), attached_(shell.attached()), round_(shell.refreshRound().number) {}

  void run(TopologyNode& root) {
    enterChildren(root, [this](TopologyNode& type, std::size_t) { enterType(type); });
  }

 private:
  bool filterIsUsedUp() const { return next_ == filter_.size(); }

  // Calls enter(child, position), in order, for each child to enter, except for those that are up to date.
  template <class Enter>
  void enterChildren(TopologyNode& node, const Enter& enter) {
    const std::size_t count = node.children.size();
    std::size_t at = 0;
    while (!filterIsUsedUp()) {
      at = node.findChildFrom(at, filter_[next_]);
      if (at == count) return;
      ++next_;
      enter(*node.children[at], at);
      ++at;
    }
    if (at == count) return;
    // From here on it enters all children, and everything below them.
    const std::size_t end = upToDate(node).from;
    for (std::size_t position = at; position < end; ++position) enter(*node.children[position], position);
    upToDate(node).from = std::min(at, end);
  }

  // Returns which children are up to date in this round.
  RefreshedChildren& upToDate(TopologyNode& node) const {
    RefreshedChildren& children = node.refreshedChildren();
    if (children.round != round_) children = {round_, node.children.size(), {}};
    return children;
  }

  void enterType(TopologyNode& type) {
    enterChildren(type, [this](TopologyNode& side, std::size_t position) { enterSide(side, position); });
  }

  void enterSide(TopologyNode& node, std::size_t side) {
    const auto& groups = side == SinkPosition ? patcher_.sinkGroups() : patcher_.sourceGroups();
    enterChildren(
        node, [&](TopologyNode& group, std::size_t position) { enterGroup(group, side, groups.at(position).groupId); });
  }

  void enterGroup(TopologyNode& node, std::size_t side, std::uint16_t groupId) {
    // The filter may enter one port alone, or one port before all those behind it.
    std::vector<bool>& single = upToDate(node).single;
    single.resize(node.children.size());
    enterChildren(node, [&](TopologyNode& port, std::size_t position) {
      if (single[position]) return;
      refreshPort(port, side, groupId, static_cast<std::uint16_t>(position));
      single[position] = true;
    });
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

  // Returns whether rebuilding a port would change nothing. Most ports keep their connections between listings, and
  // comparing costs a fraction of freeing and creating the nodes.
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
    port.removeChildren();
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
  const AttachedList& attached_;
  const std::uint64_t round_;
  std::vector<StrmSrv::PortRecord> connected_;
  std::vector<std::size_t> compared_;  // for each child of a port, how many of its ports match so far
};

// Continues the round, or begins a new one if something has changed. After a change during a refresh, the next refresh
// finds another version and begins a new round.
void beginRound(RefreshRound& round, StrmSrv::Patcher& patcher, const AttachedList& attached) {
  const std::uint64_t patcherVersion = patcher.version();
  const bool goesOn = round.number != 0 && round.patcher == &patcher && round.patcherVersion == patcherVersion &&
                      round.attachedVersion == attached.version();
  if (!goesOn) round = {round.number + 1, &patcher, patcherVersion, attached.version()};
}

}  // namespace

void refreshTopology(TopologyShell& shell, const PathComponents& filter) {
  StrmSrv::Patcher* const patcher = shell.patcher();
  if (patcher == nullptr) return;
  beginRound(shell.refreshRound(), *patcher, shell.attached());
  Refresh(shell, *patcher, filter).run(shell.tree());
}

}  // namespace flowscope
