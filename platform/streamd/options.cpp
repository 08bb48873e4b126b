#include "platform/streamd/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <limits>

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

// Below the minimum, hardly two of the longest messages find room for a user; more than the maximum no machine has.
constexpr std::uint64_t SmallestMemory = 16U << 20U;
constexpr std::uint64_t LargestMemory = std::uint64_t{1} << 40U;

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
                  .queueBytes = service::QueueLimits{}.queueBytes,
                  .memory = service::QueueLimits{}.memory};
  std::uint64_t memory = options.memory;
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
  app.add_option("--memory", memory,
                 "Memory for all clients in bytes, or with a unit (512MiB); one user may have half of it")
      ->type_name("SIZE")
      ->check(CLI::Range(SmallestMemory, LargestMemory))
      ->transform(CLI::AsSizeValue(false))
      ->capture_default_str();
  try {
    app.parse(count, words);
  } catch (const CLI::ParseError& problem) {
    // The parser reports requests for help and version as errors, too.
    if (problem.get_exit_code() == 0) return EndWith{app.exit(problem)};
    std::fprintf(stderr, "streamd: %s (see --help)\n", sys::printable(problem.what()).c_str());
    return EndWith{UsageStatus};
  }
  options.memory = static_cast<std::size_t>(std::min<std::uint64_t>(memory, std::numeric_limits<std::size_t>::max()));
  if (options.drivers.empty() && options.device.empty()) options.drivers.emplace_back("builtin");
  return options;
}

}  // namespace streamd
