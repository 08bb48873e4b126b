#include <poll.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "evtsrv.h"
#include "platform/client/connection.h"
#include "platform/client/endpoint.h"
#include "platform/client/session.h"
#include "platform/wire/program_line.h"

namespace EvtSrv {
namespace {

// What to try in turn; all but the last only if somebody is there.
std::vector<std::string> endpointsToTry() {
  const char* text = std::getenv("EVTSRV_ENDPOINT");
  if (text != nullptr && *text != '\0') return {text};
  return client::endpointsWhenUnset();
}

void reportCause(const std::string& endpoint, const std::string& cause) {
  wire::sayLine(client::endpointLine(endpoint, cause));
}

}  // namespace

EventPortManager::EventPortManager(std::uint32_t behaviour, bool /*dispatchOnReceive*/) {
  const std::vector<std::string> endpoints = endpointsToTry();
  for (const std::string& endpoint : endpoints) {
    auto connection = client::openConnection(endpoint, behaviour);
    if (const auto* problem = std::get_if<client::ConnectionProblem>(&connection)) {
      if (!problem->nobodyThere || &endpoint == &endpoints.back()) reportCause(endpoint, problem->cause);
      continue;
    }
    auto session = Session::open(std::get<client::Connection>(std::move(connection)), endpoint);
    if (const auto* cause = std::get_if<std::string>(&session)) {
      reportCause(endpoint, *cause);
      continue;
    }
    session_ = std::get<std::shared_ptr<Session>>(std::move(session));
    return;
  }
}

EventPortManager::~EventPortManager() {
  // Not left to the last owner: a port that another thread is using may be one for a moment.
  if (session_) session_->close();
}

EventResult EventPortManager::receiveEvent(int milliseconds) {
  if (session_) return session_->receive(std::max(milliseconds, 0));
  poll(nullptr, 0, std::max(milliseconds, 0));
  return EvtRes_DoNothing;
}

EventResult EventPortManager::finishActiveTerm(int /*milliseconds*/) { return EvtRes_DoNothing; }

}  // namespace EvtSrv
