// Which clients have gone, and which are back.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "platform/drivers/foreign/recent_names.h"

namespace drivers::jack {

// Those that have gone are remembered as long as RecentNames does.
class ClientLog {
 public:
  // clients: those that have ports now. stillRuns: asked about one that has none any more. Answers a line for each
  // client that has gone, and for each that was there once and is back.
  std::vector<std::string> update(const std::vector<std::string>& clients,
                                  const std::function<bool(const std::string& client)>& stillRuns);

  // All have gone with their server: that is another line.
  void serverGone();

 private:
  std::set<std::string> here_;
  RecentNames gone_;
};

}  // namespace drivers::jack
