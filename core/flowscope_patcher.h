// The shell's patcher.
#pragma once

#include "strmsrv.h"

namespace flowscope {

class FlowScope;

// Takes no notice of changes of the device: the tree shows the groups and ports that were there when it was built,
// and listings ask for connections anew.
class FlowScopePatcher : public StrmSrv::Patcher {
 public:
  // owner outlives the patcher.
  FlowScopePatcher(EvtSrv::EventPortManager& manager, FlowScope& owner) : Patcher(manager, 0), owner_(&owner) {}

  void notifyAddGroup(std::uint16_t) override {}
  void notifyAddPort(std::uint16_t, std::uint16_t, int) override {}
  void notifyRemoveGroup(std::uint16_t) override {}

  FlowScope& owner() const { return *owner_; }

 private:
  FlowScope* owner_;
};

}  // namespace flowscope
