#include "platform/client/event_ports.h"

namespace client {

std::uint32_t EventPorts::add(EvtSrv::EventPort& port) {
  const std::lock_guard guard(mutex_);
  ports_.emplace(++last_, &port);
  return last_;
}

void EventPorts::remove(std::uint32_t number) {
  const std::lock_guard guard(mutex_);
  ports_.erase(number);
}

EvtSrv::EventPort* EventPorts::find(std::uint32_t number) const {
  const std::lock_guard guard(mutex_);
  const auto found = ports_.find(number);
  return found == ports_.end() ? nullptr : found->second;
}

}  // namespace client
