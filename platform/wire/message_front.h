// What all messages begin with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "platform/wire/bytes.h"
#include "platform/wire/messages.h"

namespace wire {

inline constexpr std::uint8_t Magic = 0xE5;
inline constexpr std::size_t HeaderBytes = 8;

// Returns the kind of a message of this version, whatever follows its header; nullopt for other bytes.
inline std::optional<std::uint16_t> kindOf(std::span<const std::uint8_t> bytes) {
  if (bytes.size() < HeaderBytes) return std::nullopt;
  ByteReader from(bytes);
  const bool isOurs = from.number<std::uint8_t>() == Magic;
  const bool isThisVersion = from.number<std::uint8_t>() == ProtocolVersion;
  if (!isOurs || !isThisVersion) return std::nullopt;
  return from.number<std::uint16_t>();
}

}  // namespace wire
