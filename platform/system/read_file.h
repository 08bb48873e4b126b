// Reads files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <variant>
#include <vector>

namespace sys {

// Returns the bytes of the file at path, or one line with the reason of failure. Reads only regular files of at most
// `most` bytes: anything else could be endless. Blocks for the disk.
std::variant<std::vector<std::uint8_t>, std::string> readFile(const std::filesystem::path& path, std::size_t most);

}  // namespace sys
