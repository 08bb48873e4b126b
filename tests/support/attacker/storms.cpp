// Attacks with many connections.
#include <chrono>
#include <cstdint>
#include <deque>
#include <string>
#include <utility>
#include <variant>

#include "tests/support/attacker/attacks.h"
#include "tests/support/attacker/connections.h"

namespace attacker {

using namespace std::chrono_literals;

std::string storm(const Target& target) {
  Connections connections(target);
  while (!connections.end().passed()) connections.make(0ms);
  const double seconds = std::chrono::duration<double>(target.duration).count();
  return text(connections.described(), ", ",
              static_cast<std::uint64_t>(static_cast<double>(connections.made) / seconds), " a second");
}

std::string hellos(const Target& target) {
  mostDescriptors();
  Connections connections(target);
  std::deque<RawStream> kept;
  const Buffer hello = frameOf(1, wire::Hello{});
  while (!connections.end().passed()) {
    auto stream = connections.make();
    stream.write(hello);
    if (stream.open()) kept.push_back(std::move(stream));
  }
  std::uint64_t welcomed = 0;
  for (RawStream& stream : kept) {
    stream.read();
    if (!stream.open()) ++connections.closed;
    const auto envelope = stream.next();
    if (envelope && std::holds_alternative<wire::Welcome>(envelope->body)) ++welcomed;
  }
  return text(welcomed, " welcomed on ", connections.described());
}

}  // namespace attacker
