#include "platform/streamctl/program.h"

#include <variant>

#include "platform/streamctl/command_line.h"
#include "platform/streamctl/failure.h"
#include "platform/streamctl/inject.h"
#include "platform/streamctl/list.h"
#include "platform/streamctl/output.h"
#include "platform/streamctl/play.h"
#include "platform/streamctl/service_place.h"
#include "platform/streamctl/stats.h"
#include "platform/streamctl/watch.h"
#include "platform/system/program_line.h"

namespace streamctl {
namespace {

constexpr int Failed = 1;
constexpr int WrongWords = 2;

int statusOf(const Outcome& outcome) {
  if (!outcome) return 0;
  if (!outcome->cause.empty()) sys::sayLine(outcome->cause);
  return Failed;
}

int say(const Saying& saying) {
  if (saying.wrong) {
    sys::sayLine(saying.text);
    return WrongWords;
  }
  const int error = writeOutput(saying.text);
  return statusOf(error == 0 ? Outcome() : Failure{outputProblem(error)});
}

}  // namespace

int runProgram(const std::vector<std::string>& words) {
  const auto parsed = parseCommandLine(words);
  if (const auto* saying = std::get_if<Saying>(&parsed)) return say(*saying);
  const auto& line = std::get<CommandLine>(parsed);
  const ServicePlace place = placeToLook(line.endpoint);
  return statusOf(std::visit([&](const auto& command) { return run(command, place); }, line.command));
}

}  // namespace streamctl
