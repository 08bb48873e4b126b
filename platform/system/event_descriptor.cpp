#include "platform/system/event_descriptor.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

namespace sys {

EventDescriptor::EventDescriptor() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (descriptor_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

EventDescriptor::~EventDescriptor() { close(descriptor_); }

void EventDescriptor::wake() noexcept {
  const int errnoOfInterrupted = errno;
  constexpr std::uint64_t One = 1;
  // It fails only if the descriptor is already readable.
  [[maybe_unused]] const auto written = write(descriptor_, &One, sizeof One);
  errno = errnoOfInterrupted;
}

void EventDescriptor::clear() noexcept {
  std::uint64_t count = 0;
  [[maybe_unused]] const auto got = read(descriptor_, &count, sizeof count);
}

}  // namespace sys
