// A streamd for one test.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tests/support/child.h"
#include "tests/support/deadline.h"
#include "tests/support/scratch_folder.h"

namespace testsupport {

// Listens at a socket in a folder that is removed with it. Killed on destruction if it still runs.
class StreamDaemon {
 public:
  // Starts the program with these arguments and its endpoint, and waits until it listens. Throws std::runtime_error
  // with its log if it does not.
  explicit StreamDaemon(std::string program, std::vector<std::string> arguments = {});

  const std::string& socket() const { return socket_; }
  std::string endpoint() const { return "ipc://" + socket_; }
  pid_t id() const { return child_->id(); }
  void signal(int number) { child_->signal(number); }

  // Returns nullopt if it has not ended by the deadline.
  std::optional<ExitStatus> waitForExit(const Deadline& deadline) { return child_->wait(deadline); }

  // Starts it again at the same endpoint, after it has ended. Throws as the constructor does.
  void restart();

  // The log since the first start.
  std::string log() const;

  // Waits until the log contains the text this many times. Returns false if it does not by the deadline.
  bool logged(const std::string& text, const Deadline& deadline, int times = 1) const;

 private:
  void start();

  ScratchFolder folder_;
  std::string socket_;
  Command command_;
  int starts_ = 0;
  std::optional<Child> child_;
};

}  // namespace testsupport
