#include "platform/host/wake.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

namespace host {

Wake::Wake() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (descriptor_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

Wake::~Wake() { close(descriptor_); }

void Wake::wake() noexcept {
  const int errnoOfInterrupted = errno;
  constexpr std::uint64_t One = 1;
  // It can only fail when it is readable already.
  [[maybe_unused]] const auto written = write(descriptor_, &One, sizeof One);
  errno = errnoOfInterrupted;
}

}  // namespace host
