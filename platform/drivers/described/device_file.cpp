#include "platform/drivers/described/device_file.h"

#include <string_view>
#include <utility>

#include "platform/midi/smf_file.h"
#include "platform/system/printable.h"
#include "platform/system/read_file.h"

namespace drivers {
namespace {

constexpr std::size_t MaxDeviceFileBytes = 16U << 20U;

std::string located(const std::string& path, const DeviceFileProblem& problem) {
  return sys::printable(path) + ":" + std::to_string(problem.line) + ": " + problem.cause;
}

}  // namespace

std::variant<DeviceDescription, DeviceFileProblem> loadPlayers(ParsedDevice parsed,
                                                               const std::filesystem::path& folder) {
  for (const FilePlayer& player : parsed.filePlayers) {
    auto loaded = midi::loadSmf(folder / player.file);
    if (const auto* cause = std::get_if<std::string>(&loaded)) {
      return DeviceFileProblem{player.line, printable(player.file) + ": " + *cause};
    }
    parsed.device.scores.push_back(
        {player.source, midi::ScorePlayback{std::get<midi::Score>(std::move(loaded)), player.loop, player.speed}});
  }
  return std::move(parsed.device);
}

std::variant<std::unique_ptr<device::Driver>, std::string> loadDeviceFile(const std::string& path) {
  const auto read = sys::readFile(path, MaxDeviceFileBytes);
  if (const auto* cause = std::get_if<std::string>(&read)) return sys::printable(path) + ": " + *cause;
  const auto& bytes = std::get<std::vector<std::uint8_t>>(read);

  auto parsed = parseDevice(std::string(bytes.begin(), bytes.end()));
  if (const auto* problem = std::get_if<DeviceFileProblem>(&parsed)) return located(path, *problem);
  auto loaded = loadPlayers(std::get<ParsedDevice>(std::move(parsed)), std::filesystem::path(path).parent_path());
  if (const auto* problem = std::get_if<DeviceFileProblem>(&loaded)) return located(path, *problem);
  return makeDescribedDevice(std::get<DeviceDescription>(std::move(loaded)));
}

}  // namespace drivers
