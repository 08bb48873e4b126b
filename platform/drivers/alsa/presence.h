// Which clients have left and come back.
#pragma once

#include <map>
#include <span>
#include <string>
#include <vector>

#include "platform/drivers/foreign/port_book.h"
#include "platform/drivers/foreign/recent_names.h"

namespace drivers::alsa {

// Makes a line for the log of each client that leaves, and of each that returns under a name that was there before, as
// long as RecentNames remembers it.
class Presence {
 public:
  // Who is there now. Answers the lines; none the first time.
  std::vector<std::string> update(std::span<const ForeignClient> clients);

 private:
  std::map<std::uint64_t, std::string> here_;  // names by key
  RecentNames left_;
};

}  // namespace drivers::alsa
