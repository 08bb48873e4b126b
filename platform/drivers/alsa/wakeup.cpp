#include "platform/drivers/alsa/wakeup.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

namespace service::alsa {

Wakeup::Wakeup() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (descriptor_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

Wakeup::~Wakeup() { close(descriptor_); }

void Wakeup::raise() const noexcept {
  constexpr std::uint64_t One = 1;
  // It can only fail when it is readable already.
  [[maybe_unused]] const auto written = write(descriptor_, &One, sizeof One);
}

void Wakeup::clear() const noexcept {
  std::uint64_t count = 0;
  // It can only fail when nobody has raised it.
  [[maybe_unused]] const auto taken = read(descriptor_, &count, sizeof count);
}

}  // namespace service::alsa
