// Separates echoes of our own changes from news of changes by others.
#pragma once

#include <deque>
#include <map>
#include <string>
#include <utility>

namespace drivers::jack {

// JACK reports each connection that is made or ended, in order, to all clients. The client that asked for it gets the
// report, too, and late. A report that arrives before the echo of our own change is older than that change, and no
// longer news.
class Echoes {
 public:
  // JACK made or ended a connection for us: an echo will follow.
  void expect(const std::string& source, const std::string& sink, bool made);

  // JACK reported a change. Returns true if it is news, false if it is an echo or older than a change of our own.
  bool isNews(const std::string& source, const std::string& sink, bool made);

  // No more echoes will follow.
  void clear() { expected_.clear(); }

 private:
  std::map<std::pair<std::string, std::string>, std::deque<bool>> expected_;  // made or ended, in order
};

}  // namespace drivers::jack
