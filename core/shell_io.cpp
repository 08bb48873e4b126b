#include "core/shell_io.h"

#include <unistd.h>

#include <cstdlib>

#include "terminal/stdin_key_source.h"
#include "terminal/terminal_mode.h"
#include "terminal/waiting_stream.h"
#include "traffic/traffic_output.h"

namespace flowscope {

RealSystemCommands::RealSystemCommands(std::FILE* out) : out_(out) {}

void RealSystemCommands::run(const std::string& line) {
  flushStream(out_);
  const SavedModeScope saved;
  // NOLINTNEXTLINE(cert-env33-c,concurrency-mt-unsafe): the user's own command, for the user's own interpreter
  [[maybe_unused]] const int status = std::system(line.c_str());
}

ShellIo& standardIo() {
  // Made before the stream, so that a signal handler writes the traffic after what waits in the stream.
  trafficOutput();
  static std::FILE* const out = openWaitingStream(STDOUT_FILENO);
  static DescriptorTerminalSize size;
  static StdinKeySource keys(stdin, out);
  static RealSystemCommands system(out);
  static ShellIo io{out, size, keys, system};
  return io;
}

}  // namespace flowscope
