// System exclusive messages in words.
#pragma once

#include <cstdint>
#include <span>

#include "platform/midi/decoded.h"

namespace midi {

// Describes system exclusive: its maker, or what a universal message is for. bytes: not empty; begins with 0xF0, or
// with 0xF7 where it is the rest of a message. Anything may follow. Adds to the text and the fields of out.
void describeExclusive(std::span<const std::uint8_t> bytes, Decoded& out);

}  // namespace midi
