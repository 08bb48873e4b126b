// A child process: what to start, how it ended, and the handle to wait for it.
#pragma once

#include <spawn.h>
#include <sys/types.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/deadline.h"
#include "tests/support/unique_fd.h"

namespace testsupport {

// What to start. A program without "/" is searched for in this process's PATH. The environment is complete; nothing is
// inherited. An empty folder means the current one.
struct Command {
  std::string program;
  std::vector<std::string> arguments;
  std::map<std::string, std::string> environment;
  std::string folder;
};

// How a program ended: with a status, or by a signal.
struct ExitStatus {
  enum class Kind { Exited, Signalled };

  Kind kind = Kind::Exited;
  int value = 0;  // the status, or the number of the signal

  static ExitStatus exited(int status) { return {Kind::Exited, status}; }
  static ExitStatus signalled(int number) { return {Kind::Signalled, number}; }
  friend bool operator==(const ExitStatus&, const ExitStatus&) = default;
};

// "0", "1", "signal TERM".
std::string describe(const ExitStatus& status);

// The number of a signal by its name without "SIG"; nullopt for an unknown name.
std::optional<int> signalNumber(std::string_view name);

// Sets up the descriptors of a program before it starts, in the order of the calls.
class ChildDescriptors {
 public:
  ChildDescriptors();
  ChildDescriptors(const ChildDescriptors&) = delete;
  ChildDescriptors& operator=(const ChildDescriptors&) = delete;
  ~ChildDescriptors();

  // Opens a file as the descriptor target. flags as for open(). The owner of a created file may read and write it.
  void open(int target, const std::string& path, int flags);

  // Gives the program this process's descriptor source as its descriptor target.
  void duplicate(int target, int source);

  void changeFolder(const std::string& folder);

  const posix_spawn_file_actions_t* actions() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_;
};

class Child {
 public:
  // Starts the program as the leader of a new session, with all signals at their defaults and none blocked. The first
  // terminal that it opens becomes its controlling terminal. Throws std::system_error if it cannot be started.
  Child(const Command& command, ChildDescriptors& descriptors);
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  // Kills the program with its process group and waits until it has ended.
  ~Child();

  pid_t id() const { return id_; }

  // Readable for poll() once the program has ended. Valid as long as this object.
  int endDescriptor() const { return endDescriptor_.get(); }

  // Waits until the program has ended. Returns nullopt if the deadline passes first. May be called again.
  std::optional<ExitStatus> wait(const Deadline& deadline);

  // Sends a signal; does nothing if the program has ended.
  void signal(int number);

 private:
  pid_t id_ = -1;
  UniqueFd endDescriptor_;
  std::optional<ExitStatus> status_;
};

}  // namespace testsupport
