// Files as bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <variant>
#include <vector>

namespace sys {

// The bytes of the file at path, or in one line why not. Only regular files of most bytes or less: anything else could
// be without end. Blocks for the disk.
std::variant<std::vector<std::uint8_t>, std::string> readFile(const std::filesystem::path& path, std::size_t most);

}  // namespace sys
