// How long a refresh of the topology stays valid.
#pragma once

#include <cstdint>

#include "strmsrv.h"

namespace flowscope {

// A round lasts as long as every refresh would find the same: the patcher is the same object, and neither its answers
// nor the attached list change. If one refresh of a round has updated a node, the others skip it. Each tree has its own
// round.
struct RefreshRound {
  std::uint64_t number = 0;  // 0: no round has begun
  const StrmSrv::Patcher* patcher = nullptr;
  std::uint64_t patcherVersion = 0;
  std::uint64_t attachedVersion = 0;
};

}  // namespace flowscope
