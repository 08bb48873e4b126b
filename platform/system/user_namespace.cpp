#include "platform/system/user_namespace.h"

#include <fstream>

namespace sys {

bool usersAreKnown() {
  std::ifstream file("/proc/self/uid_map");
  std::uint64_t first = 1;
  std::uint64_t outside = 1;
  std::uint64_t count = 0;
  // Without the file there are no user namespaces.
  if (!file) return true;
  file >> first >> outside >> count;
  return first == 0 && outside == 0 && count >= UINT32_MAX;
}

std::uint32_t foreignUser() {
  constexpr std::uint32_t Default = 65534;
  std::uint32_t user = Default;
  std::ifstream("/proc/sys/kernel/overflowuid") >> user;
  return user == 0 ? Default : user;
}

}  // namespace sys
