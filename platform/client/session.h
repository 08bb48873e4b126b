// The library's side of a connection to a service.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "evtsrv.h"
#include "platform/channel/session.h"
#include "platform/client/event_ports.h"

namespace EvtSrv {

// The session of a manager and its event ports. Thread-safe, except for receiveEvent and close.
class EventPortManager::Session : public channel::Session {
 public:
  // Attaches. address: the service's name on standard error. If no service answers, returns the cause as text. Blocks
  // for at most two seconds.
  static std::variant<std::shared_ptr<Session>, std::string> open(channel::Connector connector,
                                                                  const std::string& address);

  std::uint32_t addPort(EventPort& port) { return ports_.add(port); }
  void removePort(std::uint32_t number) { ports_.remove(number); }

  // See EventPortManager::receiveEvent. One thread at a time.
  EventResult receiveEvent(int milliseconds);

 private:
  Session(channel::Connector connector, std::string address)
      : channel::Session(std::move(connector), std::move(address)) {}
  using channel::Session::open;
  using channel::Session::receive;

  bool dispatch(std::uint32_t eventPort, std::string_view port, std::span<const std::uint8_t> event);

  client::EventPorts ports_;
};

}  // namespace EvtSrv
