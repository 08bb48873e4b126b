// Standard MIDI Files, formats 0 and 1, as scores.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <variant>

#include "platform/midi/score.h"

namespace midi {

// Returns the score of a file's bytes, or in one line what is wrong with them and where. Tracks are played together; of
// messages at one tick those of the earlier track come first. The channel of status 0x9n becomes status 0x90 and group
// n; messages without a channel have group 0. A system exclusive message comes whole, from 0xF0 to 0xF7, at the time of
// its last part. Meta events are not in the score, but changes of tempo count in all tracks, and the score lasts until
// its last track ends.
//
// Chunks of other kinds, more bytes in the header or behind the last track or the end of a track, and a missing end of
// a track are accepted. Refused are, among others, a file that is cut short, a message with a data byte above 0x7F, a
// system exclusive message that never ends or is longer than device::MaxMessageBytes, and music of more than a year.
//
// Pure: any thread. Never reads outside of bytes. Takes time of the order n log n for n events, and memory in
// proportion to n.
std::variant<Score, std::string> parseSmf(std::span<const std::uint8_t> bytes);

// The score of the file at path. Blocks for the disk.
std::variant<Score, std::string> loadSmf(const std::filesystem::path& path);

}  // namespace midi
