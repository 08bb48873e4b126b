// For how long a refresh of the topology holds.
#pragma once

#include <cstdint>

#include "strmsrv.h"

namespace flowscope {

// Refreshes belong to one round as long as all of them would find the same: from the same patcher, with no change there
// and none of the attached list. What one of a round has brought up to date, the others of that round leave alone. One
// of these goes with one tree.
struct RefreshRound {
  std::uint64_t number = 0;  // 0: there was none yet
  const StrmSrv::Patcher* patcher = nullptr;
  std::uint64_t patcherVersion = 0;
  std::uint64_t attachedVersion = 0;
};

}  // namespace flowscope
