#include "platform/drivers/jack/echoes.h"

namespace drivers::jack {

void Echoes::expect(const std::string& source, const std::string& sink, bool made) {
  expected_[{source, sink}].push_back(made);
}

bool Echoes::isNews(const std::string& source, const std::string& sink, bool made) {
  const auto found = expected_.find({source, sink});
  if (found == expected_.end()) return true;
  if (found->second.front() != made) return false;
  found->second.pop_front();
  if (found->second.empty()) expected_.erase(found);
  return false;
}

}  // namespace drivers::jack
