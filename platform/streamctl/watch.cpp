#include "platform/streamctl/watch.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <utility>
#include <variant>

#include "evtsrv.h"
#include "platform/channel/connector.h"
#include "platform/client/session.h"
#include "platform/reach/service_search.h"
#include "platform/streamctl/event_lines.h"
#include "platform/streamctl/output.h"
#include "platform/streamctl/service_client.h"
#include "platform/streamctl/stop_signals.h"
#include "platform/system/printable.h"

namespace streamctl {
namespace {

constexpr std::size_t HolderBytes = 64U << 10U;

// The size of one write while messages arrive without a pause.
constexpr std::size_t WriteAfter = 64U << 10U;

// The longest wait for messages without a check for a reader of the output.
constexpr int LongestReceive = 200;  // milliseconds

class WatchPort : public EvtSrv::EventPort {
 public:
  WatchPort(EvtSrv::EventPortManager& manager, LineForm form, const StopSignals& signals)
      : EventPort(manager), lines_(form), signals_(signals) {}

  EvtSrv::EventResult receiveMain(const char* name, unsigned /*type*/, EvtSrv::MemoryHolder* data,
                                  EvtSrv::MemoryHolder* /*reply*/) override {
    if (!lines_.append(name, *data, text_)) malformed_ = true;
    if (text_.size() >= WriteAfter) flush();
    return EvtSrv::EvtRes_Success;
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
  const StopSignals& signals_;
  std::string text_;
  int error_ = 0;
  bool malformed_ = false;
};

using Opened = channel::ConnectorOrProblem;

// Makes the library use the only endpoint of the place. Prints why if there is no service: only this program knows what
// to do next. A service in this process stays alive for the library as long as the result.
Opened makeKnown(const ServicePlace& place) {
  const std::string& endpoint = place.endpoints.front();
  Opened opened = reach::openAddress(endpoint, reach::Network::Allowed);
  if (const auto* problem = std::get_if<channel::ConnectProblem>(&opened)) {
    sayProblem(place, endpoint, *problem);
  } else {
    setenv("EVTSRV_ENDPOINT", endpoint.c_str(), 1);
  }
  return opened;
}

// Why the tap failed.
std::string causeOf(EvtSrv::EventResult result, const std::string& port, const std::string& endpoint) {
  const bool unknown = result == EvtSrv::EvtRes_NotFound || result == EvtSrv::EvtRes_BadArgument;
  return unknown ? noSuchPort(port) : sys::printable(endpoint) + ": the service does not answer";
}

}  // namespace

Outcome run(const WatchCommand& command, const ServicePlace& place) {
  const StopSignals signals;
  std::signal(SIGPIPE, SIG_IGN);
  std::optional<Opened> opened;
  if (!place.isDefault) opened = makeKnown(place);
  if (opened && std::holds_alternative<channel::ConnectProblem>(*opened)) return Failure{};
  EvtSrv::EventPortManager manager(EvtSrv::ConBehave_Void, true);
  if (manager.session() == nullptr) return Failure{};  // the library has printed why
  const std::string& endpoint = manager.session()->address();
  sayTaken(place, endpoint);
  WatchPort port(manager, command.json ? LineForm::Json : LineForm::Text, signals);
  for (const std::string& name : command.ports) {
    EvtSrv::MemoryHolder holder(HolderBytes);
    const auto result = port.connect(name.c_str(), EvtSrv::DebugPortName, nullptr, &holder, EvtSrv::ConBehave_Void);
    if (result != EvtSrv::EvtRes_Success) return Failure{causeOf(result, name, endpoint)};
  }
  while (signals.caught() == 0 && port.error() == 0 && !port.malformed()) {
    const auto received = manager.receiveEvent(LongestReceive);
    port.flush();
    if (received == EvtSrv::EvtRes_DoNothing && !outputHasReader()) break;
  }
  if (port.malformed()) return Failure{sys::printable(endpoint) + ": the service has sent a malformed event"};
  const int error = port.error();
  return error == 0 || error == EPIPE || error == EINTR ? Outcome() : Failure{outputProblem(error)};
}

}  // namespace streamctl
