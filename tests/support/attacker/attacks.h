// What a client may do to a service that it wants to harm.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace attacker {

struct Target {
  std::string socket;  // the path of the service's socket
  std::chrono::milliseconds duration{};
  std::vector<std::uint64_t> numbers;  // what else the attack needs
};

// Each attacks for the whole duration, whatever the service answers or refuses. Returns a line, without its end, about
// what it did.

// Random bytes, also within good frames, on ever new connections.
std::string garbage(const Target& target);

// Frames that are begun and never finished, on many connections that stay open.
std::string half(const Target& target);

// Frames that are announced far too long; and on many connections the longest that is allowed, without its last byte.
std::string endless(const Target& target);

// A byte a second, on connections with and without a Hello.
std::string drip(const Target& target);

// Connections that are closed at once. The line has their rate.
std::string storm(const Target& target);

// A Hello on ever new connections, which stay open.
std::string hellos(const Target& target);

// Requests without end; reads no answer.
std::string deaf(const Target& target);

// Opens event and graph channels with guessed sessions and tokens.
std::string forged(const Target& target);

// Injects and sends messages without regard to the send window, at the first source of the service.
std::string flood(const Target& target);

// Clients with a tap and an event channel each: 8,000, or as many as descriptors and the duration allow. When they are
// complete, writes the line itself, and kills its own process.
std::string crowd(const Target& target);

// Opens both channels of a session, and sends a request in its name. The numbers are the session and the two halves of
// its token. The line has the status of each answer.
std::string stolen(const Target& target);

// nullptr if there is no attack of this name.
using Attack = std::string (*)(const Target&);
Attack attackOf(std::string_view name);

}  // namespace attacker
