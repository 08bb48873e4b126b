// The port that attacks use.
#pragma once

#include <string>
#include <variant>

#include "platform/device/topology.h"
#include "tests/support/attacker/attacks.h"
#include "tests/support/attacker/connections.h"

namespace attacker {

// The name of the first source of the service; empty if it has none.
inline std::string firstSource(RawStream& stream, const Session& session, const testsupport::Deadline& deadline) {
  if (!stream.writeAll(frameOf(2, wire::AskTopology{session}), deadline)) return {};
  const auto envelope = stream.answer(2, deadline);
  const auto* topology = envelope ? std::get_if<wire::Topology>(&envelope->body) : nullptr;
  if (topology == nullptr) return {};
  const device::Topology ports(topology->groups);
  for (const device::Group& group : topology->groups) {
    if (group.side(device::Side::Source)) return ports.name({group.handle, 0, device::Side::Source});
  }
  return {};
}

}  // namespace attacker
