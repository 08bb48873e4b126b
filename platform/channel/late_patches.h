// Changes of connections that a service made after the client had given up.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "platform/device/port.h"
#include "platform/device/status.h"

namespace channel {

// Remembers the Patch requests of one session that had no answer in time, and decides what to take back when their
// answers arrive: the user has been told of an error, so the connection must be as it was before. A service carries out
// no request after the time at which the client gives up, so this is about requests that it carried out just in time.
// Computes only; the caller reads and sends.
class LatePatches {
 public:
  // The request with this tag had no answer in time. existed: whether the connection existed before it.
  void gaveUp(std::uint32_t tag, const device::Link& link, bool existed);

  // The client has asked for this connection again, and had an answer in time: the service has done what the client
  // wants.
  void settled(const device::Link& link);

  // The answer to the request with this tag, and the version of the graph from which on its effect shows. Ignores other
  // tags.
  void answered(std::uint32_t tag, device::Status status, std::uint64_t graphVersion);

  bool empty() const { return links_.empty(); }

  // True if an answer says that the service has done something, and none to the same connection is missing.
  bool isDue() const;

  // One connection to make (made is true) or to remove.
  struct Request {
    device::Link link;
    bool made = false;
    friend bool operator==(const Request&, const Request&) = default;
  };

  // Returns what takes back all that is due, and forgets it. exists: whether a connection exists, as far as a mirror of
  // the graph with this version knows. What the mirror does not know yet stays due. If a connection is as it was, for
  // example because somebody else has changed it back, there is nothing to do.
  std::vector<Request> takeBack(std::uint64_t mirrorVersion, const std::function<bool(const device::Link&)>& exists);

 private:
  struct Waiting {
    bool existed = false;  // before the first request
    std::set<std::uint32_t> tags;
    std::optional<std::uint64_t> doneAt;  // the version that shows it
    bool isDue() const { return doneAt && tags.empty(); }
  };

  std::map<device::Link, Waiting> links_;
};

}  // namespace channel
