// Descriptors that a library opens for itself.
#pragma once

#include <set>

namespace drivers::jack {

// The JACK library lets its sockets be inherited by every program that the process starts, which would keep them open,
// and could speak to the server in our name. The system is asked what is open before and after.
class OpenedDescriptors {
 public:
  // Notes what is open now.
  OpenedDescriptors();

  // Has programs that are started from now on not inherit what has been opened since, by any thread. Does nothing where
  // the system does not tell what is open.
  void keepToOurselves() const;

 private:
  std::set<int> before_;
};

}  // namespace drivers::jack
