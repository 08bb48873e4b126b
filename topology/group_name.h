// Names of groups.
#pragma once

#include <cstdint>

#include "strmsrv.h"

namespace flowscope {

// Returns the name of a group by its id, "[]" for an id above those that have names. Valid for the life of the process.
inline const char* groupName(std::uint16_t groupId) {
  return groupId < StrmSrv::GroupNames::Count ? StrmSrv::GroupNameTable[groupId] : "[]";
}

}  // namespace flowscope
