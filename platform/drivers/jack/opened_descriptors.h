// Descriptors that a library opens for itself.
#pragma once

#include <set>

namespace drivers::jack {

// Programs that the process starts inherit the JACK library's sockets. They would keep them open, and could talk to the
// server in our name. This class compares what is open before and after.
class OpenedDescriptors {
 public:
  // Records what is open now.
  OpenedDescriptors();

  // Sets close-on-exec on what any thread has opened since, so that programs started from now on do not inherit it.
  // Does nothing if the system does not tell what is open.
  void keepToOurselves() const;

 private:
  std::set<int> before_;
};

}  // namespace drivers::jack
