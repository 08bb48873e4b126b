// The event ports of one client, by number.
#pragma once

#include <cstdint>
#include <mutex>
#include <unordered_map>

#include "evtsrv.h"

namespace client {

// Thread-safe.
class EventPorts {
 public:
  // Returns the port's number; numbers are not reused.
  std::uint32_t add(EvtSrv::EventPort& port);
  void remove(std::uint32_t number);

  // Returns null if no port has this number (any more).
  EvtSrv::EventPort* find(std::uint32_t number) const;

 private:
  mutable std::mutex mutex_;
  std::unordered_map<std::uint32_t, EvtSrv::EventPort*> ports_;
  std::uint32_t last_ = 0;
};

}  // namespace client
