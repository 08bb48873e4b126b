// Which clients have gone, and which are back.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace service::jack {

class ClientLog {
 public:
  // clients: those that have ports now. stillRuns: asked about one that has none any more. Answers a line for each
  // client that has gone, and for each that was there once and is back.
  std::vector<std::string> update(const std::vector<std::string>& clients,
                                  const std::function<bool(const std::string& client)>& stillRuns);

  // All have gone with their server: that is another line.
  void serverGone();

 private:
  std::map<std::string, bool> isThere_;
};

}  // namespace service::jack
