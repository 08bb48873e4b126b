#include "platform/client/session.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <exception>
#include <utility>

#include "platform/device/names.h"
#include "platform/wire/events.h"

namespace EvtSrv {

std::variant<std::shared_ptr<EventPortManager::Session>, std::string> EventPortManager::Session::open(
    channel::Connector connector, const std::string& address) {
  const std::shared_ptr<Session> session(new Session(std::move(connector), address));
  if (auto cause = session->open()) return std::move(*cause);
  return session;
}

EventResult EventPortManager::Session::receiveEvent(int milliseconds) {
  const auto take = [this](std::uint32_t eventPort, std::string_view port, std::span<const std::uint8_t> event) {
    return dispatch(eventPort, port, event);
  };
  return receive(take, channel::Deadline{std::chrono::milliseconds(milliseconds)}) ? EvtRes_Success : EvtRes_DoNothing;
}

bool EventPortManager::Session::dispatch(std::uint32_t eventPort, std::string_view port,
                                         std::span<const std::uint8_t> event) {
  // The port may have been removed meanwhile.
  EventPort* to = ports_.find(eventPort);
  const auto header = wire::readEventHeader(event);
  if (to == nullptr || !header) return false;
  // The name of a tapped port is clean, unless the service lies.
  std::array<char, device::MaxNameBytes + 1> name{};
  std::ranges::copy(device::isCleanName(port) ? port : std::string_view(device::cleanName(port)), name.begin());
  MemoryHolder data(event);
  to->receiveMain(name.data(), header->type, &data, nullptr);
  return true;
}

}  // namespace EvtSrv
