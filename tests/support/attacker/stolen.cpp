// What somebody can do who knows the token of a session.
#include <array>
#include <string>
#include <variant>

#include "tests/support/attacker/attacks.h"
#include "tests/support/attacker/connections.h"

namespace attacker {
namespace {

// The status of the answer; "none" without one.
std::string statusOf(RawStream& stream, const Connections& connections, const wire::Body& request) {
  if (!stream.writeAll(frameOf(5, request), connections.end())) return "none";
  const auto envelope = stream.answer(5, connections.end());
  const auto* result = envelope ? std::get_if<wire::Result>(&envelope->body) : nullptr;
  return result == nullptr ? "none" : std::to_string(static_cast<std::uint32_t>(result->status));
}

}  // namespace

std::string stolen(const Target& target) {
  Connections connections(target);
  const std::uint64_t session = target.numbers.at(0);
  const wire::Token token{target.numbers.at(1), target.numbers.at(2)};
  // All stay open until the last answer: a channel that closes ends its session.
  std::array streams{connections.make(), connections.make(), connections.make()};
  const auto events = statusOf(streams[0], connections, wire::OpenEvents{session, token});
  const auto graph = statusOf(streams[1], connections, wire::OpenGraph{session, token});
  const auto request = statusOf(streams[2], connections, wire::UntapAll{session, 1});
  return text("events ", events, ", graph ", graph, ", request ", request, ", on ", connections.described());
}

}  // namespace attacker
