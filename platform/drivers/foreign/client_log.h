// Log lines about clients that disconnect and return.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "platform/drivers/foreign/recent_names.h"

namespace drivers {

// Remembers clients that disconnected as long as RecentNames does.
class ClientLog {
 public:
  // clients: those that have ports now. stillRuns: called for a client that has none any more. Returns a line for each
  // client that disconnected, and for each that returned.
  std::vector<std::string> update(const std::vector<std::string>& clients,
                                  const std::function<bool(const std::string& client)>& stillRuns);

  // Call this when the server has ended: its clients get no lines, because it has one of its own.
  void serverGone();

 private:
  std::set<std::string> here_;
  RecentNames gone_;
};

}  // namespace drivers
