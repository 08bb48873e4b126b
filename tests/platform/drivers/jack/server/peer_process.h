// A client of JACK's in a process of its own, which servers may end under it.
#pragma once

#include <optional>
#include <string>

#include "tests/support/child.h"
#include "tests/support/unique_fd.h"

namespace drivers::jack {

// Has one source and one sink. Leaves its server at the end; killed when that takes long.
class PeerProcess {
 public:
  // Comes back when its ports are there. Throws std::runtime_error when they are not within some seconds.
  PeerProcess(const std::string& name, const std::string& source, const std::string& sink);
  PeerProcess(const PeerProcess&) = delete;
  PeerProcess& operator=(const PeerProcess&) = delete;
  ~PeerProcess();

  // Emits an event, given in hex. Does not wait.
  void emit(const std::string& event);

  // Waits for the next event that arrives at its sink, for some seconds, and answers it in hex; then nothing.
  std::optional<std::string> arrived();

 private:
  testsupport::UniqueFd input_;
  testsupport::UniqueFd output_;
  std::string read_;
  std::optional<testsupport::Child> child_;
};

}  // namespace drivers::jack
