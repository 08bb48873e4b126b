// The shell's patcher.
#pragma once

#include "strmsrv.h"

namespace flowscope {

class FlowScope;

// Ignores changes of the device: the tree shows the groups and ports that existed when it was built, and listings query
// connections anew.
class FlowScopePatcher : public StrmSrv::Patcher {
 public:
  // owner must outlive the patcher.
  FlowScopePatcher(EvtSrv::EventPortManager& manager, FlowScope& owner) : Patcher(manager, 0), owner_(&owner) {}

  void notifyAddGroup(std::uint16_t) override {}
  void notifyAddPort(std::uint16_t, std::uint16_t, int) override {}
  void notifyRemoveGroup(std::uint16_t) override {}

  FlowScope& owner() const { return *owner_; }

 private:
  FlowScope* owner_;
};

}  // namespace flowscope
