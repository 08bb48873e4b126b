#include "platform/drivers/device_file.h"

#include <string_view>
#include <utility>

#include "platform/drivers/read_file.h"
#include "platform/midi/smf_file.h"
#include "platform/wire/printable.h"

namespace service {
namespace {

constexpr std::size_t MaxDeviceFileBytes = 16U << 20U;

std::string located(const std::string& path, const DeviceFileProblem& problem) {
  return wire::printable(path) + ":" + std::to_string(problem.line) + ": " + problem.cause;
}

}  // namespace

std::variant<DeviceDescription, DeviceFileProblem> loadPlayers(ParsedDevice parsed,
                                                               const std::filesystem::path& folder) {
  for (const FilePlayer& player : parsed.filePlayers) {
    auto loaded = loadSmf(folder / player.file);
    if (const auto* cause = std::get_if<std::string>(&loaded)) {
      return DeviceFileProblem{player.line, printable(player.file) + ": " + *cause};
    }
    parsed.device.scores.push_back(
        {player.source, ScorePlayback{std::get<Score>(std::move(loaded)), player.loop, player.speed}});
  }
  return std::move(parsed.device);
}

std::variant<std::unique_ptr<Driver>, std::string> loadDeviceFile(const std::string& path) {
  const auto read = readFile(path, MaxDeviceFileBytes);
  if (const auto* cause = std::get_if<std::string>(&read)) return wire::printable(path) + ": " + *cause;
  const auto& bytes = std::get<std::vector<std::uint8_t>>(read);

  auto parsed = parseDevice(std::string(bytes.begin(), bytes.end()));
  if (const auto* problem = std::get_if<DeviceFileProblem>(&parsed)) return located(path, *problem);
  auto loaded = loadPlayers(std::get<ParsedDevice>(std::move(parsed)), std::filesystem::path(path).parent_path());
  if (const auto* problem = std::get_if<DeviceFileProblem>(&loaded)) return located(path, *problem);
  return makeDeviceDriver(std::get<DeviceDescription>(std::move(loaded)));
}

}  // namespace service
