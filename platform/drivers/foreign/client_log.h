// Log lines about clients that disconnect and return.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/drivers/foreign/port_book.h"
#include "platform/drivers/foreign/recent_names.h"

namespace drivers {

// Remembers clients that disconnected as long as RecentNames does.
class ClientLog {
 public:
  using StillRuns = std::function<bool(const std::string& client)>;

  // clients: those that have ports now; their ports do not matter. Two are the same client if both key and name are the
  // same, so the key may always be 0 where names are unique. stillRuns: called for a client that has no ports any more;
  // without it, such a client has disconnected. Returns a line for each client that disconnected, and for each that
  // returned.
  std::vector<std::string> update(std::span<const ForeignClient> clients, const StillRuns& stillRuns = {});

  // Call this when the other system has ended: its clients get no lines, because it has one of its own.
  void systemGone();

 private:
  std::set<std::pair<std::uint64_t, std::string>> here_;  // keys and names
  RecentNames gone_;
};

}  // namespace drivers
