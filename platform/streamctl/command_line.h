// The command line of streamctl.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/streamctl/event_lines.h"

namespace streamctl {

struct ListCommand {
  bool json = false;
};

struct InjectCommand {
  std::string port;
  std::uint16_t group = 0;
  std::uint64_t count = 1;            // at least 1
  std::optional<double> perSecond;    // above 0; none: as fast as the service takes them
  std::vector<std::uint8_t> message;  // 1 to device::MaxMessageBytes bytes
};

struct PlayCommand {
  std::string file;
  std::string port;
  bool loop = false;
  double speed = 1;  // a factor, midi::MinSpeed to midi::MaxSpeed; 0: without pauses
};

struct WatchCommand {
  std::vector<std::string> ports;  // at least one
  bool json = false;
  LineStyle lines;  // at least one type of messages passes the filter
};

struct StatsCommand {
  bool json = false;
};

using Command = std::variant<ListCommand, InjectCommand, PlayCommand, WatchCommand, StatsCommand>;

struct CommandLine {
  std::optional<std::string> endpoint;  // not empty
  Command command;
};

// Text to print instead of running a command: help, the version, or one line without its end that says what is wrong.
struct Saying {
  bool wrong = false;
  std::string text;
};

// Parses a command line without the program's own name. Pure.
std::variant<CommandLine, Saying> parseCommandLine(const std::vector<std::string>& words);

}  // namespace streamctl
