// A child process that runs a piece of code as the leader of a session on a pseudo terminal of its own.
#pragma once

#include <poll.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>

#include "tests/support/deadline.h"
#include "tests/support/pseudo_terminal.h"
#include "tests/support/unique_fd.h"

namespace flowscope::test {

inline constexpr std::chrono::seconds Patience{30};

// Reads from a descriptor until text is among what was read, or until the other end is closed; answers everything
// that was read.
std::string readUntil(int descriptor, std::string_view text);

// "exited 0", "killed by 15", "stopped by 20".
std::string describeStatus(int status);

inline std::string killedBy(int signal) { return "killed by " + std::to_string(signal); }

// Ends processes that a failed test left behind, and writes no core files.
inline void limitChild() {
  alarm(60);
  const rlimit noCore{0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  // What a function that calls itself for ever has to fill.
  const rlimit stack{8UL << 20U, 8UL << 20U};
  setrlimit(RLIMIT_STACK, &stack);
}

class TerminalSession {
 public:
  // What the code in the child can do besides using its terminal, which is on descriptors 0, 1 and 2.
  struct Inside {
    int keyboard;  // what is written here is typed on the terminal
    int reports;   // what is written here is answered by report()
    const termios& settingsAtStart;

    void say(std::string_view text) const {
      [[maybe_unused]] const ssize_t written = write(reports, text.data(), text.size());
    }

    // What the settings of the terminal are now.
    std::string_view mode() const {
      termios current{};
      tcgetattr(0, &current);
      if (testsupport::sameSettings(current, settingsAtStart)) return "saved ";
      return (current.c_lflag & (ICANON | ECHO)) == 0 ? "raw " : "other ";
    }
  };
  using Body = std::function<int(const Inside&)>;

  // Starts the child, which ends with the status that body answers. settings are the terminal's at start.
  explicit TerminalSession(const Body& body, const std::function<void(termios&)>& settings = {});
  TerminalSession(const TerminalSession&) = delete;
  TerminalSession& operator=(const TerminalSession&) = delete;
  ~TerminalSession();

  // Blocks until the child has said text, or has ended; answers all that it has said since the last time.
  std::string awaitReport(std::string_view text) { return readUntil(reports_.get(), text); }
  std::string allReports() { return readUntil(reports_.get(), {}); }

  // What appeared on the terminal.
  std::string awaitOutput(std::string_view text) { return readUntil(master_.get(), text); }

  void type(std::string_view bytes) const {
    [[maybe_unused]] const ssize_t written = write(master_.get(), bytes.data(), bytes.size());
  }

  void signal(int number) const { kill(child_, number); }

  // Blocks until the child has ended, see describeStatus.
  std::string end();

  termios settings() const;
  const termios& settingsAtStart() const { return settingsAtStart_; }
  bool hasSavedSettings() const { return testsupport::sameSettings(settings(), settingsAtStart_); }

 private:
  testsupport::UniqueFd master_;
  testsupport::UniqueFd slave_;  // kept open, so that the settings outlive the child
  testsupport::UniqueFd reports_;
  termios settingsAtStart_{};
  pid_t child_ = -1;
};

inline std::string readUntil(int descriptor, std::string_view text) {
  const testsupport::Deadline deadline(Patience);
  std::string seen;
  while (text.empty() || seen.find(text) == std::string::npos) {
    pollfd ready{descriptor, POLLIN, 0};
    if (poll(&ready, 1, deadline.pollTimeout()) == 0) return seen + " (timed out)";
    std::array<char, 4096> piece{};
    const ssize_t count = read(descriptor, piece.data(), piece.size());
    if (count <= 0) break;
    seen.append(piece.data(), static_cast<std::size_t>(count));
  }
  return seen;
}

inline std::string describeStatus(int status) {
  if (WIFEXITED(status)) return "exited " + std::to_string(WEXITSTATUS(status));
  if (WIFSIGNALED(status)) return killedBy(WTERMSIG(status));
  if (WIFSTOPPED(status)) return "stopped by " + std::to_string(WSTOPSIG(status));
  return "continued";
}

inline TerminalSession::TerminalSession(const Body& body, const std::function<void(termios&)>& settings) {
  int master = -1;
  int slave = -1;
  std::array<int, 2> reports{};
  if (openpty(&master, &slave, nullptr, nullptr, nullptr) != 0 || pipe(reports.data()) != 0) std::abort();
  master_ = testsupport::UniqueFd(master);
  slave_ = testsupport::UniqueFd(slave);
  reports_ = testsupport::UniqueFd(reports[0]);
  if (settings) {
    termios wanted = this->settings();
    settings(wanted);
    tcsetattr(slave, TCSANOW, &wanted);
  }
  settingsAtStart_ = this->settings();
  std::fflush(nullptr);
  // With ThreadSanitizer a thread can lose a signal that comes while it begins to wait for the first time; the child
  // then begins for the second.
  poll(nullptr, 0, 0);
  child_ = fork();
  if (child_ == 0) {
    limitChild();
    login_tty(dup(slave));
    _exit(body({master, reports[1], settingsAtStart_}));
  }
  close(reports[1]);
}

inline TerminalSession::~TerminalSession() {
  if (child_ <= 0) return;
  kill(child_, SIGKILL);
  end();
}

inline std::string TerminalSession::end() {
  int status = 0;
  if (child_ <= 0 || waitpid(child_, &status, 0) != child_) return "gone";
  child_ = -1;
  return describeStatus(status);
}

inline termios TerminalSession::settings() const {
  termios current{};
  tcgetattr(slave_.get(), &current);
  return current;
}

}  // namespace flowscope::test
