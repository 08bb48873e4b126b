// Users as this process sees them.
#pragma once

#include <cstdint>

namespace sys {

// False in a user namespace, where the system calls foreign users by one number (see foreignUser): users cannot be told
// apart.
bool usersAreKnown();

// The number of a user whom this process's user namespace does not know.
std::uint32_t foreignUser();

}  // namespace sys
