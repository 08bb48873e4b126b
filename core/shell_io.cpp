#include "core/shell_io.h"

#include <cstdlib>

#include "terminal/stdin_key_source.h"
#include "terminal/terminal_mode.h"

namespace flowscope {

void RealSystemCommands::run(const std::string& line) {
  std::fflush(stdout);
  const SavedModeScope saved;
  // NOLINTNEXTLINE(cert-env33-c,concurrency-mt-unsafe): the user's own command, for the user's own interpreter
  [[maybe_unused]] const int status = std::system(line.c_str());
}

ShellIo& standardIo() {
  static DescriptorTerminalSize size;
  static StdinKeySource keys;
  static RealSystemCommands system;
  static ShellIo io{stdout, size, keys, system};
  return io;
}

}  // namespace flowscope
