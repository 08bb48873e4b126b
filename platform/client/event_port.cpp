#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>
#include <string>

#include "evtsrv.h"
#include "platform/client/session.h"
#include "platform/wire/messages.h"

namespace EvtSrv {
namespace {

constexpr std::size_t DefaultHolderBytes = 1004;

EventResult toResult(const std::optional<device::Status>& status) {
  if (!status) return EvtRes_NoService;
  switch (*status) {
    case device::Status::Ok:
      return EvtRes_Success;
    case device::Status::Nothing:
      return EvtRes_DoNothing;
    case device::Status::NotFound:
      return EvtRes_NotFound;
    case device::Status::NoSession:
      return EvtRes_NoService;
    case device::Status::BadRequest:
    case device::Status::Refused:
      break;
  }
  return EvtRes_UnknownError;
}

bool isName(const char* name) { return name != nullptr && std::strlen(name) <= device::MaxNameBytes; }

}  // namespace

const char* const DebugPortName = "debug";

EventPort::EventPort(EventPortManager& manager) : session_(manager.session()) {
  if (manager.session()) number_ = manager.session()->addPort(*this);
}

EventPort::~EventPort() {
  const auto session = session_.lock();
  if (!session) return;
  session->removePort(number_);
  session->untapAll(number_);
}

EventResult EventPort::connect(const char* name, const char* target, MemoryHolder* /*request*/, MemoryHolder* reply,
                               std::uint32_t /*behaviour*/) {
  if (!isName(name) || target == nullptr || std::strcmp(target, DebugPortName) != 0) return EvtRes_BadArgument;
  const auto session = session_.lock();
  if (!session) return EvtRes_NoService;
  const std::size_t size = reply == nullptr ? DefaultHolderBytes : reply->size();
  const auto holderBytes = std::min<std::size_t>(size, std::numeric_limits<std::uint32_t>::max());
  return toResult(session->tap(number_, name, static_cast<std::uint32_t>(holderBytes)));
}

EventResult EventPort::disconnect(const char* name, MemoryHolder* /*request*/) {
  if (name != nullptr && !isName(name)) return EvtRes_BadArgument;
  const auto session = session_.lock();
  if (!session) return EvtRes_NoService;
  return toResult(name == nullptr ? session->untapAll(number_) : session->untap(number_, name));
}

EventResult EventPort::receiveMain(const char* /*name*/, unsigned /*type*/, MemoryHolder* /*data*/,
                                   MemoryHolder* /*reply*/) {
  return EvtRes_Success;
}

}  // namespace EvtSrv
