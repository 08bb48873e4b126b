#include "platform/streamd/options.h"

#include <CLI/CLI.hpp>
#include <cstdio>

#include "platform/channel/address.h"
#include "platform/drivers/catalogue.h"
#include "platform/host/settings.h"
#include "platform/system/local_socket.h"
#include "platform/system/printable.h"

namespace streamd {
namespace {

constexpr int UsageStatus = 2;

// Below the minimum, hardly a message fits; above the maximum, sizes do not fit the 32 bits of the protocol.
constexpr std::size_t SmallestQueue = 1024;
constexpr std::size_t LargestQueue = 1U << 31U;

std::vector<std::string> driverNames() {
  std::vector<std::string> names;
  for (const drivers::Entry& entry : drivers::catalogue()) names.emplace_back(entry.name);
  return names;
}

}  // namespace

std::variant<Options, EndWith> parseOptions(int count, const char* const* words) {
  Options options{.endpoints = {channel::Address{channel::Transport::Local, sys::wellKnownSocket()}.text()},
                  .drivers = {},
                  .device = {},
                  .queueBytes = service::QueueLimits{}.queueBytes};
  CLI::App app{"Serves the MIDI streams of a device to consoles and tools.", "streamd"};
  app.set_version_flag("--version", FLOWSCOPE_VERSION);
  app.add_option("--listen", options.endpoints, "Endpoint for clients: ipc://PATH; may be given several times")
      ->type_name("ENDPOINT")
      ->allow_extra_args(false)
      ->capture_default_str();
  app.add_option("--driver", options.drivers,
                 "Driver that provides ports: " + drivers::namesOfAll() +
                     "; may be given several times to serve the groups of all; default: builtin, or none with --device")
      ->type_name("NAME")
      ->allow_extra_args(false)
      ->check(CLI::IsMember(driverNames()));
  app.add_option("--device", options.device, "TOML file that describes a device; its groups are listed last")
      ->type_name("FILE");
  app.add_option("--queue-bytes", options.queueBytes, "Queue limit per client in bytes; more is dropped")
      ->type_name("N")
      ->check(CLI::Range(SmallestQueue, LargestQueue))
      ->capture_default_str();
  try {
    app.parse(count, words);
  } catch (const CLI::ParseError& problem) {
    // The parser reports requests for help and version as errors, too.
    if (problem.get_exit_code() == 0) return EndWith{app.exit(problem)};
    std::fprintf(stderr, "streamd: %s (see --help)\n", sys::printable(problem.what()).c_str());
    return EndWith{UsageStatus};
  }
  if (options.drivers.empty() && options.device.empty()) options.drivers.emplace_back("builtin");
  return options;
}

}  // namespace streamd
