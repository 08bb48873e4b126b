// Which clients have disconnected and returned.
#pragma once

#include <map>
#include <span>
#include <string>
#include <vector>

#include "platform/drivers/foreign/port_book.h"
#include "platform/drivers/foreign/recent_names.h"

namespace drivers::alsa {

// Makes a log line for each client that disconnects, and for each that returns under a name that RecentNames still
// remembers.
class Presence {
 public:
  // Takes over the clients that exist now. Returns the log lines; none the first time.
  std::vector<std::string> update(std::span<const ForeignClient> clients);

 private:
  std::map<std::uint64_t, std::string> here_;  // names by key
  RecentNames left_;
};

}  // namespace drivers::alsa
