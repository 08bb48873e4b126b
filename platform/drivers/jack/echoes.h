// Tells the echoes of own changes from the news of others' changes.
#pragma once

#include <deque>
#include <map>
#include <string>
#include <utility>

namespace drivers::jack {

// JACK tells everybody of every connection that is made or ended, in order, also him who asked for it, and him late.
// What comes before the echo of an own change is older than that change, and no news any more.
class Echoes {
 public:
  // JACK has made or ended a connection for us: an echo will come.
  void expect(const std::string& source, const std::string& sink, bool made);

  // JACK tells of a change. True when it is news, false when it is an echo or older than an own change.
  bool isNews(const std::string& source, const std::string& sink, bool made);

  // No more echoes will come.
  void clear() { expected_.clear(); }

 private:
  std::map<std::pair<std::string, std::string>, std::deque<bool>> expected_;  // made or ended, in order
};

}  // namespace drivers::jack
