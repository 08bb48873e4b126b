#include <poll.h>

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "evtsrv.h"
#include "platform/channel/address.h"
#include "platform/client/session.h"
#include "platform/reach/service_search.h"
#include "platform/system/program_line.h"

namespace EvtSrv {
namespace {

// The addresses to try in turn; all but the last are used only if something listens there.
std::vector<std::string> addressesToTry() {
  if (auto address = channel::addressOfVariable()) return {std::move(*address)};
  return reach::defaultAddresses();
}

}  // namespace

EventPortManager::EventPortManager(std::uint32_t behaviour, bool /*dispatchOnReceive*/) {
  const auto take = [this](channel::Connector connector, const std::string& address) -> std::optional<std::string> {
    auto session = Session::open(std::move(connector), address);
    if (auto* cause = std::get_if<std::string>(&session)) return std::move(*cause);
    session_ = std::get<std::shared_ptr<Session>>(std::move(session));
    return std::nullopt;
  };
  const auto report = [](const std::string& address, const channel::ConnectProblem& problem) {
    sys::sayLine(channel::addressLine(address, problem.cause));
  };
  const auto network =
      (behaviour & ConBehave_DisableOverNetwork) != 0 ? reach::Network::Refused : reach::Network::Allowed;
  reach::findService(addressesToTry(), network, take, report);
}

EventPortManager::~EventPortManager() {
  // Not left to the last owner: for a moment that may be a port that another thread is using.
  if (session_) session_->close();
}

EventResult EventPortManager::receiveEvent(int milliseconds) {
  if (session_) return session_->receiveEvent(std::max(milliseconds, 0));
  poll(nullptr, 0, std::max(milliseconds, 0));
  return EvtRes_DoNothing;
}

EventResult EventPortManager::finishActiveTerm(int /*milliseconds*/) { return EvtRes_DoNothing; }

}  // namespace EvtSrv
