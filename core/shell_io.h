// The environment of a shell: its output, the window size, the keys, and the object that runs system commands. Tests
// pass their own.
#pragma once

#include <cstdio>
#include <string>

#include "terminal/key_source.h"
#include "terminal/terminal_size.h"

namespace flowscope {

// Runs a line with the system's command interpreter.
class SystemCommands {
 public:
  virtual ~SystemCommands() = default;

  // Blocks until the command has ended. Ignores its exit status.
  virtual void run(const std::string& line) = 0;
};

// Runs lines with the C library's system(). Flushes the output first; while the command runs, a terminal in raw mode
// has the settings from before the shell.
class RealSystemCommands : public SystemCommands {
 public:
  // The stream is borrowed and must outlive this object.
  explicit RealSystemCommands(std::FILE* out);

  void run(const std::string& line) override;

 private:
  std::FILE* out_;
};

// The members must outlive every shell that is built with them.
struct ShellIo {
  std::FILE* out;
  TerminalSize& size;
  KeySource& keys;
  SystemCommands& system;
};

// Standard output, the window and the keys of the terminal, and the real command interpreter. One for the process. Its
// output blocks even if standard output is non-blocking (see openWaitingStream), so nothing else may write to stdout.
ShellIo& standardIo();

}  // namespace flowscope
