#include "platform/streamd/daemon.h"

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/channel/address.h"
#include "platform/drivers/catalogue.h"
#include "platform/host/host.h"
#include "platform/streamd/line_log.h"
#include "platform/streamd/socket_place.h"
#include "platform/system/printable.h"
#include "platform/system/user_namespace.h"

namespace streamd {
namespace {

constexpr int FailureStatus = 1;

void logLine(std::string_view line) {
  static LineLog log(STDERR_FILENO);
  log.write(line);
}

void logOf(std::string_view subject, std::string_view what) {
  logLine(sys::printable(subject) + ": " + sys::printable(what));
}

std::atomic<host::Host*> running{nullptr};

// During its lifetime, the signals that end programs stop the host instead.
class StoppedBySignals {
 public:
  explicit StoppedBySignals(host::Host& host) {
    running = &host;
    struct sigaction action {};
    action.sa_handler = [](int /*number*/) {
      if (host::Host* served = running) served->stop();
    };
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) sigaction(number, &action, nullptr);
  }
  StoppedBySignals(const StoppedBySignals&) = delete;
  StoppedBySignals& operator=(const StoppedBySignals&) = delete;
  ~StoppedBySignals() { running = nullptr; }
};

std::string countText(std::size_t count, std::string_view noun) {
  return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

std::string describe(const device::Topology& topology) {
  std::size_t sources = 0;
  std::size_t sinks = 0;
  for (const device::Group& group : topology.groups()) {
    if (group.sources) sources += group.sources->count;
    if (group.sinks) sinks += group.sinks->count;
  }
  return countText(topology.groups().size(), "group") + ", " + countText(sources, "source") + ", " +
         countText(sinks, "sink");
}

// The served drivers and device as text.
std::string devicesText(const Options& options) {
  std::string text;
  for (const std::string& name : options.drivers)
    text += (text.empty() ? "" : ", ") + std::string(drivers::find(name)->text);
  if (!options.device.empty()) text += (text.empty() ? "" : ", ") + options.device;
  return text;
}

// Claims the place of an endpoint's socket. Returns it, or why streamd cannot listen there.
std::variant<std::unique_ptr<SocketPlace>, std::string> claim(std::string_view endpoint) {
  const auto parsed = channel::parseAddress(endpoint);
  const auto* address = std::get_if<channel::Address>(&parsed);
  if (address != nullptr && address->transport == channel::Transport::Network) {
    return "network services are not supported";
  }
  if (address == nullptr || address->transport != channel::Transport::Local)
    return "not a valid endpoint (use ipc://PATH)";
  const std::string& path = address->place;
  // Many programs take @ for a socket without a file, which has no mode that keeps other users out, and * for a path of
  // their own choice. A file of such a name would surprise their users.
  if (path.front() == '@' || path.front() == '*') return "the path must not begin with @ or *";
  return SocketPlace::claim(path);
}

}  // namespace

int serve(const Options& options) {
  auto device = drivers::openDrivers(options.drivers, options.device);
  if (const auto* problem = std::get_if<std::string>(&device)) {
    logLine(sys::printable(*problem));
    return FailureStatus;
  }
  auto driver = std::get<std::unique_ptr<device::Driver>>(std::move(device));
  const std::string deviceText = describe(driver->topology());

  // Released after the sockets are closed.
  std::vector<std::unique_ptr<SocketPlace>> places;
  host::Host host(std::move(driver), {.service = {.queueBytes = options.queueBytes, .memory = options.memory}},
                  logLine);
  const StoppedBySignals stopped(host);
  logOf(devicesText(options), deviceText);
  if (!sys::usersAreKnown()) logLine("in a user namespace: users cannot be told apart");
  for (const std::string& endpoint : options.endpoints) {
    auto place = claim(endpoint);
    if (const auto* problem = std::get_if<std::string>(&place)) {
      logOf(endpoint, *problem);
      return FailureStatus;
    }
    places.push_back(std::get<std::unique_ptr<SocketPlace>>(std::move(place)));
    const SocketMode mode;
    if (const auto problem = host.listen(places.back()->path())) {
      logOf(endpoint, *problem);
      return FailureStatus;
    }
    places.back()->bound();
    logOf(endpoint, "listening");
  }
  host.run();
  logLine("ended by a signal");
  return 0;
}

}  // namespace streamd
