// The connections that a service carries, beyond its end.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <utility>

#include "platform/client/link_mirror.h"
#include "platform/wire/messages.h"

namespace client {

// What stands between two systems is made by the service and ends with it. This remembers what stood there, by the
// names of the ports, so that somebody can be told what a service that is back has lost.
class CarriedLinks {
 public:
  // The service has gone; mirror is what is known of its connections, topology where their ports are.
  void keep(const LinkMirror& mirror, const wire::Topology& topology);

  bool empty() const { return links_.empty(); }

  // The service is back with these. Answers what there is to say of those that do not stand, and forgets them.
  std::optional<std::string> compare(const wire::Links& links, const wire::Topology& topology);

 private:
  std::set<std::pair<std::string, std::string>> links_;  // names of source and sink
};

}  // namespace client
