#include "tests/support/stream_daemon.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>

#include "tests/support/case_runner.h"

namespace testsupport {
namespace {

using namespace std::chrono_literals;

constexpr auto Patience = 20s;

int timesIn(const std::string& all, std::string_view text) {
  int count = 0;
  for (std::size_t at = all.find(text); at != std::string::npos; at = all.find(text, at + 1)) ++count;
  return count;
}

}  // namespace

StreamDaemon::StreamDaemon(std::string program, std::vector<std::string> arguments)
    : socket_(folder_.path() / "socket"), command_{std::move(program), std::move(arguments), {}, {}} {
  command_.environment = caseEnvironment(std::filesystem::path(command_.program).parent_path());
  command_.arguments.insert(command_.arguments.end(), {"--listen", endpoint()});
  start();
}

void StreamDaemon::restart() {
  child_.reset();
  start();
}

void StreamDaemon::start() {
  ChildDescriptors descriptors;
  descriptors.open(STDIN_FILENO, "/dev/null", O_RDONLY);
  descriptors.open(STDOUT_FILENO, "/dev/null", O_WRONLY);
  descriptors.open(STDERR_FILENO, folder_.path() / "log", O_WRONLY | O_CREAT | O_APPEND);
  child_.emplace(command_, descriptors);
  if (!logged(": listening\n", Deadline(Patience), ++starts_)) {
    throw std::runtime_error("streamd does not listen: " + log());
  }
}

std::string StreamDaemon::log() const {
  std::ifstream in(folder_.path() / "log");
  return {std::istreambuf_iterator<char>(in), {}};
}

bool StreamDaemon::logged(const std::string& text, const Deadline& deadline, int times) const {
  while (timesIn(log(), text) < times) {
    if (deadline.passed()) return false;
    std::this_thread::sleep_for(2ms);
  }
  return true;
}

}  // namespace testsupport
