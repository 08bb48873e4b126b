// How much a host lets wait, and lets be on its way.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/service/service.h"

namespace host {

struct Limits {
  service::Limits service;

  // Bytes of Events entries that may be on their way to a client, unacknowledged. Events are sent whole while any room
  // is left, so up to one event more may be on its way. At least wire::MinEventWindow.
  std::size_t eventWindow = 256U << 10U;

  // Send messages that a client may have on their way.
  std::uint32_t sendWindow = 1024;

  // Changes of the patch graph that may be on their way to a client, unacknowledged; beyond it the client is told to
  // ask for the whole graph. At least wire::MinGraphWindow.
  std::uint64_t graphWindow = 1024;

  // What handles of groups are counted from where they travel: a random number, unless it is given, so that no two
  // services give a handle to two groups, the same one started again included.
  std::optional<std::uint64_t> firstHandle{};
};

}  // namespace host
