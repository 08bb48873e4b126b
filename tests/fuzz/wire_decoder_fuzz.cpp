// Arbitrary bytes as a message, as the pieces of an answer, and as the entries of an Events message: what is understood
// is written back the same. The ports of a topology have names, whatever it says.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/device/topology.h"
#include "platform/wire/events.h"
#include "platform/wire/messages.h"
#include "platform/wire/pieces.h"

namespace {

void require(bool met) {
  if (!met) std::abort();
}

void checkTopology(const std::vector<device::Group>& groups) {
  const device::Topology topology(groups);
  for (const device::Group& group : groups) {
    for (const device::Side side : {device::Side::Source, device::Side::Sink}) {
      const auto& ports = group.side(side);
      const std::uint16_t count = ports ? ports->count : std::uint16_t{0};
      for (const int index : {0, count - 1, int{count}}) {
        if (index < 0) continue;
        const device::PortId port{group.handle, static_cast<std::uint16_t>(index), side};
        const std::string name = topology.name(port);
        require(!name.empty());
        require(topology.exists(port) == topology.place(name).has_value());
      }
    }
  }
}

void checkMessage(std::span<const std::uint8_t> bytes) {
  auto error = wire::DecodeError::None;
  const auto envelope = wire::decode(bytes, &error);
  require(envelope.has_value() == (error == wire::DecodeError::None));
  if (!envelope) return;
  const auto again = wire::encode(envelope->tag, envelope->body);
  require(std::vector<std::uint8_t>(bytes.begin(), bytes.end()) == again);
}

// Frames with the length of each in two bytes.
void checkAnswer(std::span<const std::uint8_t> bytes) {
  wire::PieceJoiner pieces;
  while (bytes.size() >= 2 && pieces.fault() == wire::PieceJoiner::Fault::None) {
    const std::size_t size = bytes[0] + std::size_t{bytes[1]} * 256;
    bytes = bytes.subspan(2);
    const auto frame = bytes.first(std::min(size, bytes.size()));
    bytes = bytes.subspan(frame.size());
    auto envelope = wire::decode(frame);
    const auto answer = envelope ? pieces.add(std::move(envelope->body), frame.size()) : std::nullopt;
    if (!answer || std::holds_alternative<wire::Events>(*answer)) continue;
    // A whole answer can be sent as one.
    const auto encoded = wire::encode(1, *answer);
    const auto again = wire::decode(encoded);
    require(again && wire::encode(1, again->body) == encoded);
    if (const auto* topology = std::get_if<wire::Topology>(&*answer)) checkTopology(topology->groups);
  }
}

void checkEntries(std::span<const std::uint8_t> bytes) {
  std::vector<std::uint8_t> again;
  wire::EventReader reader(bytes);
  while (const auto entry = reader.next()) {
    if (const auto header = wire::readEventHeader(entry->event)) require(header->size == entry->event.size());
    wire::appendEventEntry(*entry, again);
  }
  const auto read = bytes.first(again.size());
  require(std::vector<std::uint8_t>(read.begin(), read.end()) == again);
  require(!reader.ok() || again.size() == bytes.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span bytes(data, size);
  checkMessage(bytes);
  checkAnswer(bytes);
  checkEntries(bytes);
  return 0;
}
