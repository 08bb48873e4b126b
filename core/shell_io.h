// What a shell has around it: where it writes, how large the window is, where keys come from, and who runs system
// commands. A test gives its own.
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

  // Blocks until the command has ended. What it reports is not looked at.
  virtual void run(const std::string& line) = 0;
};

// Runs lines with the C library's system(). The output is flushed before; while the command runs, a terminal in raw
// mode has the settings that it had before the shell.
class RealSystemCommands : public SystemCommands {
 public:
  // The stream is borrowed and must outlive this object.
  explicit RealSystemCommands(std::FILE* out);

  void run(const std::string& line) override;

 private:
  std::FILE* out_;
};

// The members outlive every shell that is built with them.
struct ShellIo {
  std::FILE* out;
  TerminalSize& size;
  KeySource& keys;
  SystemCommands& system;
};

// Standard output, the window and the keys of the terminal, and the real command interpreter. One for the process. Its
// output waits where standard output does not (see openWaitingStream), so nothing else may write to stdout.
ShellIo& standardIo();

}  // namespace flowscope
