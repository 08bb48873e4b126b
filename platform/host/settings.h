// Settings of a host: limits on what is held for its clients and what is in flight to them, and its handles.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/service/service.h"

namespace host {

struct Settings {
  service::QueueLimits service;

  // Unacknowledged bytes of Events entries that may be in flight to a client. Events are sent whole while any room is
  // left, so one event more may be in flight. At least wire::MinEventWindow.
  std::size_t eventWindow = 256U << 10U;

  // Send and Inject frames that a client may have in flight.
  std::uint32_t sendWindow = 1024;

  // Unacknowledged changes of the patch graph that may be in flight to a client; beyond this limit the client is told
  // to ask for the whole graph. At least wire::MinGraphWindow.
  std::uint64_t graphWindow = 1024;

  // Sessions of one user.
  std::size_t sessionsOfUser = 16384;

  // The first handle of a group in messages. Random unless set, so that no two services use one handle for two groups,
  // not even the same service after a restart.
  std::optional<std::uint64_t> firstHandle{};
};

}  // namespace host
