// Names of groups.
#pragma once

#include <cstdint>

#include "strmsrv.h"

namespace flowscope {

// The name of a group by its id, "[]" for an id above those that have names. Lives as long as the process.
inline const char* groupName(std::uint16_t groupId) {
  return groupId < StrmSrv::GroupNames::Count ? StrmSrv::GroupNameTable[groupId] : "[]";
}

}  // namespace flowscope
