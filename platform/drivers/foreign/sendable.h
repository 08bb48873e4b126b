// Messages in the form in which other systems carry them.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/device/port.h"

namespace drivers {

// Appends the MIDI bytes of a message to bytes. Returns nullopt if it did; else the reason why the message cannot be
// sent, for BurstLog::addUnsent: bytes is then unchanged.
std::optional<std::string_view> appendSendable(const device::Message& message, std::vector<std::uint8_t>& bytes);

}  // namespace drivers
