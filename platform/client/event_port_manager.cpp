#include <poll.h>

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "evtsrv.h"
#include "platform/client/connection.h"
#include "platform/client/endpoint.h"
#include "platform/client/service_search.h"
#include "platform/client/session.h"
#include "platform/system/program_line.h"

namespace EvtSrv {
namespace {

// The endpoints to try in turn; all but the last are used only if something listens there.
std::vector<std::string> endpointsToTry() {
  if (auto endpoint = client::endpointOfVariable()) return {std::move(*endpoint)};
  return client::endpointsWhenUnset();
}

}  // namespace

EventPortManager::EventPortManager(std::uint32_t behaviour, bool /*dispatchOnReceive*/) {
  const auto take = [this](client::Connection connection, const std::string& endpoint) -> std::optional<std::string> {
    auto session = Session::open(std::move(connection), endpoint);
    if (auto* cause = std::get_if<std::string>(&session)) return std::move(*cause);
    session_ = std::get<std::shared_ptr<Session>>(std::move(session));
    return std::nullopt;
  };
  const auto report = [](const std::string& endpoint, const client::ConnectionProblem& problem) {
    sys::sayLine(client::endpointLine(endpoint, problem.cause));
  };
  client::findService(endpointsToTry(), behaviour, take, report);
}

EventPortManager::~EventPortManager() {
  // Not left to the last owner: for a moment that may be a port that another thread is using.
  if (session_) session_->close();
}

EventResult EventPortManager::receiveEvent(int milliseconds) {
  if (session_) return session_->receive(std::max(milliseconds, 0));
  poll(nullptr, 0, std::max(milliseconds, 0));
  return EvtRes_DoNothing;
}

EventResult EventPortManager::finishActiveTerm(int /*milliseconds*/) { return EvtRes_DoNothing; }

}  // namespace EvtSrv
