#include "platform/streamctl/program.h"

#include <cstdio>
#include <utility>
#include <variant>

#include "platform/streamctl/command_line.h"
#include "platform/streamctl/failure.h"
#include "platform/streamctl/inject.h"
#include "platform/streamctl/list.h"
#include "platform/streamctl/output.h"
#include "platform/streamctl/play.h"
#include "platform/streamctl/service_client.h"
#include "platform/streamctl/stats.h"
#include "platform/streamctl/watch.h"

namespace streamctl {
namespace {

constexpr int Failed = 1;
constexpr int WrongWords = 2;

void complain(const std::string& line) { std::fprintf(stderr, "streamctl: %s\n", line.c_str()); }

int statusOf(const Outcome& outcome) {
  if (!outcome) return 0;
  if (!outcome->cause.empty()) complain(outcome->cause);
  return Failed;
}

int say(const Saying& saying) {
  if (saying.wrong) {
    complain(saying.text);
    return WrongWords;
  }
  const int error = writeOutput(saying.text);
  return statusOf(error == 0 ? Outcome() : Failure{outputProblem(error)});
}

}  // namespace

int runProgram(std::vector<std::string> words) {
  const auto parsed = parseCommandLine(std::move(words));
  if (const auto* saying = std::get_if<Saying>(&parsed)) return say(*saying);
  const auto& line = std::get<CommandLine>(parsed);
  const std::string endpoint = endpointToUse(line.endpoint);
  return statusOf(std::visit([&](const auto& command) { return run(command, endpoint); }, line.command));
}

}  // namespace streamctl
