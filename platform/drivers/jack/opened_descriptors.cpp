#include "platform/drivers/jack/opened_descriptors.h"

#include <fcntl.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace drivers::jack {
namespace {

std::set<int> openDescriptors() {
  std::set<int> open;
  std::error_code problem;
  std::filesystem::directory_iterator entry("/proc/self/fd", problem);
  for (const std::filesystem::directory_iterator end; !problem && entry != end; entry.increment(problem)) {
    open.insert(std::atoi(entry->path().filename().c_str()));  // NOLINT(cert-err34-c): the names are numbers
  }
  return open;
}

}  // namespace

OpenedDescriptors::OpenedDescriptors() : before_(openDescriptors()) {}

void OpenedDescriptors::keepToOurselves() const {
  for (const int descriptor : openDescriptors()) {
    if (!before_.contains(descriptor)) fcntl(descriptor, F_SETFD, FD_CLOEXEC);
  }
}

}  // namespace drivers::jack
