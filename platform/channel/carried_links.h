// The connections that a service carried before it ended.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <utility>

#include "platform/channel/link_mirror.h"
#include "platform/wire/messages.h"

namespace channel {

// Connections between two systems are made by the service and end with it. This class remembers them by the names of
// their ports, so that the client can report what a service that is back has lost.
class CarriedLinks {
 public:
  // Call when the service is gone. mirror: the known connections; topology: where their ports are.
  void keep(const LinkMirror& mirror, const wire::Topology& topology);

  bool empty() const { return links_.empty(); }

  // Call when the service is back with these connections. Returns a line that says which remembered connections no
  // longer exist, nullopt if none is lost. Forgets them all.
  std::optional<std::string> compare(const wire::Links& links, const wire::Topology& topology);

 private:
  std::set<std::pair<std::string, std::string>> links_;  // names of source and sink
};

}  // namespace channel
