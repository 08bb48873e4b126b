// The connections that a service has carried between two systems.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <utility>

#include "platform/client/link_mirror.h"
#include "platform/wire/messages.h"

namespace client {

// A connection between two systems ends with the service that carries it. This remembers such connections by the names
// of their ports, so that the user can be told which of them a service has lost when it is back.
class CarriedLinks {
 public:
  // The service has gone. Remembers what it carried: mirror has its connections, topology the names of their ports.
  void keep(const LinkMirror& mirror, const wire::Topology& topology);

  bool empty() const { return links_.empty(); }

  // The service is back with these connections. Returns the line that names those it has lost, nullopt when it has lost
  // none, and forgets them.
  std::optional<std::string> compare(const wire::Links& links, const wire::Topology& topology);

 private:
  std::set<std::pair<std::string, std::string>> links_;  // names of source and sink
};

}  // namespace client
