// A streamd of a test's own.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tests/support/child.h"
#include "tests/support/deadline.h"
#include "tests/support/scratch_folder.h"

namespace testsupport {

// Listens at a socket in a folder that goes with it. Killed at the end when it still runs.
class StreamDaemon {
 public:
  // Starts the program with these arguments besides its endpoint, and waits until it listens. Throws
  // std::runtime_error, with its log, when it does not.
  explicit StreamDaemon(std::string program, std::vector<std::string> arguments = {});

  const std::string& socket() const { return socket_; }
  std::string endpoint() const { return "ipc://" + socket_; }
  pid_t id() const { return child_->id(); }
  void signal(int number) { child_->signal(number); }

  // Nothing when it has not ended by the deadline.
  std::optional<ExitStatus> waitForExit(const Deadline& deadline) { return child_->wait(deadline); }

  // Starts it again at the same place, after its end. Throws like the constructor.
  void restart();

  // What it has written so far, since the first start.
  std::string log() const;

  // Waits until the log holds a text so many times. False when it has not by the deadline.
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
