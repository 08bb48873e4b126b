// Code that runs in a child process of a test.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <string>

#include "tests/terminal/terminal_session.h"

namespace flowscope::test {

// Runs the code in a child process.
inline pid_t startChild(const std::function<void()>& code) {
  const pid_t child = fork();
  if (child != 0) return child;
  limitChild();
  code();
  _exit(0);
}

// How a child has stopped or ended, as soon as it has.
inline std::string awaitChild(pid_t child) {
  int status = 0;
  waitpid(child, &status, WUNTRACED);
  return describeStatus(status);
}

// Runs code in a process group in the background of the session; answers how it ended or stopped.
inline std::string inBackground(const std::function<int()>& code) {
  const pid_t child = fork();
  if (child == 0) {
    limitChild();
    setpgid(0, 0);
    _exit(code());
  }
  setpgid(child, child);
  int status = 0;
  waitpid(child, &status, WUNTRACED);
  if (WIFSTOPPED(status)) {
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
  }
  return describeStatus(status);
}

// Runs code in a session of its own, which the terminal does not control.
inline std::string withoutControl(const std::function<int()>& code) {
  const pid_t child = fork();
  if (child == 0) {
    limitChild();
    setsid();
    _exit(code());
  }
  int status = 0;
  waitpid(child, &status, 0);
  return describeStatus(status);
}

}  // namespace flowscope::test
