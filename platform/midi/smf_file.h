// Standard MIDI Files, formats 0 and 1, as scores.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <variant>

#include "platform/drivers/score.h"

namespace service {

// The score of a file's bytes, or in one line why there is none. Tracks are played together; of messages at one time
// those of the earlier track come first. The channel of status 0x9n becomes status 0x90 and group n; messages without
// a channel have group 0. System exclusive messages come whole, from 0xF0 to 0xF7. Meta events are not in the score,
// but changes of tempo count, and the score lasts until its last track ends. See smf_plain.h for what is refused. Any
// thread.
std::variant<Score, std::string> parseSmf(std::span<const std::uint8_t> file);

// The score of the file at path. Blocks for the disk.
std::variant<Score, std::string> loadSmf(const std::filesystem::path& path);

}  // namespace service
