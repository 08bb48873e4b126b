#include <poll.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <variant>

#include "evtsrv.h"
#include "platform/client/connection.h"
#include "platform/client/endpoint.h"
#include "platform/client/session.h"

namespace EvtSrv {
namespace {

std::string endpointOfEnvironment() {
  const char* text = std::getenv("EVTSRV_ENDPOINT");
  return text == nullptr ? "" : text;
}

void report(const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); }

}  // namespace

EventPortManager::EventPortManager(std::uint32_t behaviour, bool /*dispatchOnReceive*/) {
  const std::string endpoint = endpointOfEnvironment();
  auto connection = client::openConnection(endpoint, behaviour);
  if (const auto* problem = std::get_if<std::string>(&connection)) {
    report(*problem);
    return;
  }
  auto session = Session::open(std::get<client::Connection>(std::move(connection)));
  if (const auto* cause = std::get_if<std::string>(&session)) {
    report(client::problemLine(endpoint, *cause));
    return;
  }
  session_ = std::get<std::shared_ptr<Session>>(std::move(session));
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
