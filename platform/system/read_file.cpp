#include "platform/system/read_file.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

namespace sys {
namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

}  // namespace

std::variant<std::vector<std::uint8_t>, std::string> readFile(const std::filesystem::path& path, std::size_t most) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (!std::filesystem::exists(status)) {
    return error ? error.message() : std::make_error_code(std::errc::no_such_file_or_directory).message();
  }
  if (!std::filesystem::is_regular_file(status)) return "not a regular file";
  const auto size = std::filesystem::file_size(path, error);
  if (error) return error.message();
  if (size > most) return "larger than " + std::to_string(most) + " bytes";

  const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rbe"));
  if (!file) return std::generic_category().message(errno);
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
  if (std::fread(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) return "cannot read the whole file";
  return bytes;
}

}  // namespace sys
