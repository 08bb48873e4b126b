// A streamd to control, and streamctl as a real process.
#pragma once

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/case_runner.h"
#include "tests/support/process.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/stream_daemon.h"

namespace streamctl {

using testsupport::Deadline;
using testsupport::ExitStatus;
using namespace std::chrono_literals;

inline constexpr auto Patience = 60s;

inline constexpr const char* Daemon = FLOWSCOPE_BINARY_DIR "/streamd";

// Music of the package openttd-openmsx; more than half a minute long.
inline constexpr const char* Song = "/usr/share/games/openttd/baseset/openmsx/ultimate_run.mid";

// A device without players, so that only the test makes traffic.
inline constexpr const char* QuietDevice = R"([[group]]
id = 0
name = "Deck"
sources = 2
sinks = 1
[[group]]
id = 5
name = "Rack"
sinks = 2
[[connection]]
source = "DeckOut1"
sink = "RackIn2"
[[connection]]
source = "DeckOut1"
sink = "RackIn1"
)";

inline std::string readText(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

// True when the condition has come true in time. It is looked at every few milliseconds.
inline bool comesTrue(const std::function<bool()>& condition) {
  const Deadline deadline(Patience);
  while (!condition()) {
    if (deadline.passed()) return false;
    std::this_thread::sleep_for(5ms);
  }
  return true;
}

// A program that runs while the test goes on, with its outputs in files.
class Background {
 public:
  Background(const testsupport::Command& command, std::string outputs) : outputs_(std::move(outputs)) {
    for (const char* kind : {".out", ".err"}) std::ofstream(outputs_ + kind);
    testsupport::ChildDescriptors descriptors;
    descriptors.open(0, "/dev/null", O_RDONLY);
    descriptors.open(1, outputs_ + ".out", O_WRONLY | O_APPEND);
    descriptors.open(2, outputs_ + ".err", O_WRONLY | O_APPEND);
    child_.emplace(command, descriptors);
  }

  std::string output() const { return readText(outputs_ + ".out"); }
  std::string errors() const { return readText(outputs_ + ".err"); }
  void signal(int number) { child_->signal(number); }
  std::optional<ExitStatus> end() { return child_->wait(Deadline(Patience)); }
  bool hasEnded() { return child_->wait(Deadline(0ms)).has_value(); }

  // False when they have not all come in time.
  bool hasLines(std::size_t count) const {
    return comesTrue([&] {
      const std::string text = output();
      return static_cast<std::size_t>(std::ranges::count(text, '\n')) >= count;
    });
  }

 private:
  std::string outputs_;
  std::optional<testsupport::Child> child_;
};

class WithService : public testing::Test {
 protected:
  WithService() {
    scratch_.write("device.toml", QuietDevice);
    daemon_ =
        std::make_unique<testsupport::StreamDaemon>(Daemon, std::vector<std::string>{"--device", path("device.toml")});
  }

  void killService() {
    daemon_->signal(SIGKILL);
    ASSERT_TRUE(daemon_->waitForExit(Deadline(Patience)));
  }
  void startServiceAgain() { daemon_->restart(); }

  std::string path(const std::string& name) const { return (scratch_.path() / name).string(); }
  std::string endpoint() const { return daemon_->endpoint(); }

  testsupport::Command command(std::vector<std::string> words) const {
    testsupport::Command command{FLOWSCOPE_BINARY_DIR "/streamctl", std::move(words), {}, {}};
    command.environment = testsupport::caseEnvironment(FLOWSCOPE_BINARY_DIR);
    command.environment["EVTSRV_ENDPOINT"] = endpoint();
    return command;
  }

  // Runs streamctl to its end.
  testsupport::ProcessResult control(std::vector<std::string> words) const {
    return testsupport::runProcess(command(std::move(words)), "", Deadline(Patience));
  }

  // Starts streamctl; name: of its files in the scratch folder.
  std::unique_ptr<Background> start(const std::string& name, std::vector<std::string> words) const {
    return std::make_unique<Background>(command(std::move(words)), path(name));
  }

  nlohmann::json stats() const {
    return nlohmann::json::parse(control({"stats", "--json"}).standardOutput, nullptr, false);
  }

  // False when there are not so many taps in time.
  bool hasTaps(int count) const {
    return comesTrue([&] {
      const nlohmann::json now = stats();
      int taps = 0;
      if (now.is_object()) {
        for (const auto& client : now["clients"]) taps += client["taps"].get<int>();
      }
      return taps == count;
    });
  }

  // False when not that many messages have entered the device in time.
  bool hasIn(std::uint64_t count) const {
    return comesTrue([&] {
      const nlohmann::json now = stats();
      return now.is_object() && now["in"].get<std::uint64_t>() >= count;
    });
  }

  testsupport::ScratchFolder scratch_;
  std::unique_ptr<testsupport::StreamDaemon> daemon_;
};

// What watch has printed, without the time stamps.
inline std::vector<std::string> withoutTimes(const std::string& text) {
  std::vector<std::string> lines = linesOf(text);
  for (std::string& line : lines) line.erase(0, line.find(' ') + 1);
  return lines;
}

MATCHER(Succeeds, "ends with status 0 without a word of complaint") {
  *result_listener << "said: " << arg.standardError;
  return arg.status == ExitStatus::exited(0) && arg.standardError.empty();
}

MATCHER_P(FailsSaying, line, "ends with status 1 and only this line on standard error") {
  *result_listener << "said: " << arg.standardError;
  return arg.status == ExitStatus::exited(1) && arg.standardOutput.empty() &&
         arg.standardError == std::string(line) + '\n';
}

}  // namespace streamctl
