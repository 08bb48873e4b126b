// Where a service is.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace channel {

enum class Transport : std::uint8_t {
  Embedded,  // a service in this process, on the device `place` (see drivers::openDevice)
  Local,     // a service of another process, which listens at the local socket `place`, a path
  Network,   // a service of another machine, `place` is HOST:PORT
};

struct Address {
  Transport transport = Transport::Embedded;
  std::string place;  // not empty with Local

  // The text of which parseAddress makes this address.
  std::string text() const;

  friend bool operator==(const Address&, const Address&) = default;
};

// Reads "embedded:", "embedded:DEVICE", "ipc://PATH" or "tcp://HOST:PORT". Otherwise returns the cause as text.
std::variant<Address, std::string> parseAddress(std::string_view text);

// The text of EVTSRV_ENDPOINT; nullopt if it is unset or empty.
std::optional<std::string> addressOfVariable();

// A message about an address (see sys::sayLine): one printable line without its line end, with the address and what
// happened.
std::string addressLine(std::string_view address, std::string_view what);

}  // namespace channel
