// How long a refresh of the topology stays valid.
#pragma once

#include <cstdint>

#include "strmsrv.h"

namespace flowscope {

// A round lasts while every refresh would find the same: the patcher is the same one, and neither its answers nor the
// attached list have changed. A node that one refresh of a round has brought up to date is skipped by the others. Each
// tree has a round of its own.
struct RefreshRound {
  std::uint64_t number = 0;  // 0: no round has begun
  const StrmSrv::Patcher* patcher = nullptr;
  std::uint64_t patcherVersion = 0;
  std::uint64_t attachedVersion = 0;
};

}  // namespace flowscope
