// Processes for benchmarks.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/case_runner.h"
#include "tests/support/child.h"
#include "tests/support/pseudo_terminal.h"

namespace bench {

inline constexpr std::chrono::seconds Patience{60};

inline testsupport::Command commandOf(const std::string& program, std::vector<std::string> arguments,
                                      const std::string& endpoint = "") {
  testsupport::Command command{FLOWSCOPE_BINARY_DIR "/" + program, std::move(arguments), {}, {}};
  command.environment = testsupport::caseEnvironment(FLOWSCOPE_BINARY_DIR);
  if (!endpoint.empty()) command.environment["EVTSRV_ENDPOINT"] = endpoint;
  return command;
}

// Reads until the output contains text after position. Returns the position behind it.
inline std::size_t readUntil(testsupport::PseudoTerminal& terminal, std::string_view text, std::size_t position = 0) {
  const testsupport::Deadline deadline(Patience);
  for (;;) {
    const std::size_t found = terminal.output().find(text, position);
    if (found != std::string::npos) return found + text.size();
    if (!terminal.read(deadline)) throw std::runtime_error("no " + std::string(text));
  }
}

// A process whose standard output is read through a pipe.
class PipedChild {
 public:
  explicit PipedChild(const testsupport::Command& command) : child_(command, prepared()) { close(ends_[1]); }
  PipedChild(const PipedChild&) = delete;
  PipedChild& operator=(const PipedChild&) = delete;
  ~PipedChild() { close(ends_[0]); }

  // Blocks until this many lines have been read.
  void readLines(std::size_t count) {
    while (count > 0) {
      const ssize_t size = read(ends_[0], buffer_.data(), buffer_.size());
      if (size <= 0) throw std::runtime_error("the reader has ended");
      for (const char byte : std::string_view(buffer_.data(), static_cast<std::size_t>(size))) {
        if (byte == '\n' && count > 0) --count;
      }
    }
  }

 private:
  testsupport::ChildDescriptors& prepared() {
    if (pipe2(ends_.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    descriptors_.duplicate(STDOUT_FILENO, ends_[1]);
    return descriptors_;
  }

  std::array<int, 2> ends_{};
  std::array<char, 65536> buffer_{};
  testsupport::ChildDescriptors descriptors_;
  testsupport::Child child_;
};

// Resident memory of a process in MiB.
inline double residentMiB(pid_t process) {
  std::ifstream in("/proc/" + std::to_string(process) + "/statm");
  double total = 0;
  double resident = 0;
  in >> total >> resident;
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1 << 20);
}

// The processor time of all threads of a process, in seconds.
inline double cpuSeconds(pid_t process) {
  double nanoseconds = 0;
  for (const auto& task : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
    std::ifstream in(task.path() / "schedstat");
    double ofTask = 0;
    in >> ofTask;
    nanoseconds += ofTask;
  }
  return nanoseconds * 1e-9;
}

}  // namespace bench
