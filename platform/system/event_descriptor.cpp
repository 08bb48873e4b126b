#include "platform/system/event_descriptor.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

namespace service {

Wakeup::Wakeup() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (descriptor_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

Wakeup::~Wakeup() { close(descriptor_); }

void Wakeup::wake() {
  constexpr std::uint64_t One = 1;
  // It can only fail when it is readable already.
  [[maybe_unused]] const auto written = write(descriptor_, &One, sizeof One);
}

void Wakeup::clear() {
  std::uint64_t count = 0;
  [[maybe_unused]] const auto got = read(descriptor_, &count, sizeof count);
}

}  // namespace service
