// Who asks: clients, and the event ports within them.
#pragma once

#include <cstdint>

namespace service {

// A client of the service, valid from addClient to removeClient; numbers are not used again.
enum class ClientId : std::uint32_t {};

// An event port within a client.
enum class EventPortId : std::uint32_t {};

}  // namespace service
