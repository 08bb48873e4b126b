#include "platform/system/descriptor_set.h"

#include <sys/epoll.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace sys {

DescriptorSet::DescriptorSet() : descriptor_(epoll_create1(EPOLL_CLOEXEC)) {
  if (descriptor_ < 0) throw std::system_error(errno, std::generic_category(), "epoll_create1");
}

DescriptorSet::~DescriptorSet() { close(descriptor_); }

void DescriptorSet::add(int descriptor) {
  epoll_event wanted{};
  wanted.events = EPOLLIN;
  if (epoll_ctl(descriptor_, EPOLL_CTL_ADD, descriptor, &wanted) < 0) {
    throw std::system_error(errno, std::generic_category(), "epoll_ctl");
  }
}

}  // namespace sys
