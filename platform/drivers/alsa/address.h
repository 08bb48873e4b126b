// Addresses of ALSA sequencer ports.
#pragma once

#include <compare>
#include <cstdint>
#include <string>

namespace drivers::alsa {

struct Address {
  std::uint8_t client = 0;
  std::uint8_t port = 0;
  friend auto operator<=>(const Address&, const Address&) = default;  // NOLINT(modernize-use-nullptr)
};

// A subscription: what ALSA calls a connection.
struct Subscription {
  Address sender;
  Address receiver;
  friend auto operator<=>(const Subscription&, const Subscription&) = default;  // NOLINT(modernize-use-nullptr)
};

// The port's key in a PortBook.
constexpr std::uint64_t keyOf(Address address) { return std::uint64_t{address.client} << 8U | address.port; }

constexpr Address addressOf(std::uint64_t key) {
  return {static_cast<std::uint8_t>(key >> 8U), static_cast<std::uint8_t>(key)};
}

// As users type it: "14:0".
inline std::string toText(Address address) {
  return std::to_string(address.client) + ":" + std::to_string(address.port);
}

}  // namespace drivers::alsa
