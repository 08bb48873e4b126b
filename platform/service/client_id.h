// Identifies clients and their event ports.
#pragma once

#include <cstdint>

namespace service {

// A client of the service, valid from addClient to removeClient. Numbers are not reused.
enum class ClientId : std::uint32_t {};

// An event port within a client.
enum class EventPortId : std::uint32_t {};

}  // namespace service
