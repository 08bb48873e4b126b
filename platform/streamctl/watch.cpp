#include "platform/streamctl/watch.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include "platform/channel/address.h"
#include "platform/channel/session.h"
#include "platform/reach/service_search.h"
#include "platform/streamctl/event_lines.h"
#include "platform/streamctl/output.h"
#include "platform/streamctl/service_client.h"
#include "platform/streamctl/stop_signals.h"
#include "platform/system/printable.h"

namespace streamctl {
namespace {

// All taps belong to one event port.
constexpr std::uint32_t EventPort = 1;

constexpr std::uint32_t HolderBytes = 64U << 10U;

// The size of one write while messages arrive without a pause.
constexpr std::size_t WriteAfter = 64U << 10U;

// The longest wait for messages without a check for a reader of the output.
constexpr std::chrono::milliseconds LongestReceive{200};

// The distance from the clock of a service on this machine to nanoseconds since 1970.
std::chrono::nanoseconds wallOffset() {
  return std::chrono::system_clock::now().time_since_epoch() - std::chrono::steady_clock::now().time_since_epoch();
}

// Prints the messages of events.
class Printer {
 public:
  Printer(LineForm form, const LineStyle& style, const StopSignals& signals)
      : lines_(form, style), isWall_(style.time == TimeForm::Wall), signals_(signals) {}

  void print(std::string_view port, std::span<const std::uint8_t> event) {
    // Each time anew: somebody may have set the clock.
    if (isWall_) lines_.setWallOffset(wallOffset());
    if (!lines_.append(port, event, text_)) malformed_ = true;
    if (text_.size() >= WriteAfter) flush();
  }

  // Writes what was received; does nothing after a failure.
  void flush() {
    if (error_ == 0) error_ = writeOutput(text_, [this] { return signals_.caught() == 0; });
    text_.clear();
  }

  // The errno of a failed write; 0 if none failed.
  int error() const { return error_; }

  // True if an event of the service was malformed.
  bool malformed() const { return malformed_; }

 private:
  EventLines lines_;
  bool isWall_;
  const StopSignals& signals_;
  std::string text_;
  int error_ = 0;
  bool malformed_ = false;
};

// Attaches to the first service of the place that answers. Returns null if none does; prints like ServiceClient::open.
std::unique_ptr<channel::Session> openSession(const ServicePlace& place) {
  std::unique_ptr<channel::Session> session;
  const auto take = [&](channel::Connector connector, const std::string& address) -> std::optional<std::string> {
    auto opened = std::make_unique<channel::Session>(std::move(connector), address);
    if (auto cause = opened->open()) return cause;
    session = std::move(opened);
    return std::nullopt;
  };
  const auto report = [&](const std::string& address, const channel::ConnectProblem& problem) {
    sayProblem(place, address, problem);
  };
  if (reach::findService(place.endpoints, reach::Network::Allowed, take, report)) sayTaken(place, session->address());
  return session;
}

// Taps the port. Returns why it has not.
std::optional<std::string> tap(channel::Session& session, const std::string& port) {
  if (port.size() > device::MaxNameBytes) return noSuchPort(port);
  const auto status = session.tap(EventPort, port, HolderBytes);
  if (status == device::Status::Ok) return std::nullopt;
  if (status == device::Status::NotFound) return noSuchPort(port);
  if (status == device::Status::Refused) return "cannot receive from port: " + sys::printable(port);
  return channel::addressLine(session.address(), "the service does not answer");
}

}  // namespace

Outcome run(const WatchCommand& command, const ServicePlace& place) {
  const StopSignals signals;
  std::signal(SIGPIPE, SIG_IGN);
  const auto session = openSession(place);
  if (!session) return Failure{};
  for (const std::string& port : command.ports) {
    if (auto cause = tap(*session, port)) return Failure{std::move(*cause)};
  }
  Printer printer(command.json ? LineForm::Json : LineForm::Text, command.lines, signals);
  const auto take = [&](std::uint32_t /*eventPort*/, std::string_view port, std::span<const std::uint8_t> event) {
    printer.print(port, event);
    return true;
  };
  while (signals.caught() == 0 && printer.error() == 0 && !printer.malformed()) {
    const bool received = session->receive(take, channel::Deadline(LongestReceive));
    printer.flush();
    if (!received && !outputHasReader()) break;
  }
  if (printer.malformed()) {
    return Failure{channel::addressLine(session->address(), "the service sent a malformed event")};
  }
  const int error = printer.error();
  return error == 0 || error == EPIPE || error == EINTR ? Outcome() : Failure{outputProblem(error)};
}

}  // namespace streamctl
