// A million messages from a file through one console, streamd and another console into a file, compared with cat of the
// same bytes through two pipes.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <thread>

#include "bench/peers.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/stream_daemon.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr unsigned Lines = 1'000'000;
constexpr const char* Port = "/Midi/Source/Keys/KeysOut1";

std::string lines() {
  std::string text;
  std::array<char, 64> line{};
  for (unsigned i = 0; i < Lines; ++i) {
    const int size = std::snprintf(line.data(), line.size(), "0x90 0x%02X 0x%02X 0x%02X\n", i & 0x7FU, i >> 7U & 0x7FU,
                                   i >> 14U & 0xFFU);
    text.append(line.data(), static_cast<std::size_t>(size));
  }
  return text;
}

std::string textOf(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

double seconds(Clock::duration duration) { return std::chrono::duration<double>(duration).count(); }

// A console that reads its lines from a pipe and prints nothing.
class PipedConsole {
 public:
  PipedConsole(const std::string& endpoint, const std::string& line) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) std::abort();
    input_ = ends[1];
    testsupport::ChildDescriptors descriptors;
    descriptors.duplicate(STDIN_FILENO, ends[0]);
    descriptors.open(STDOUT_FILENO, "/dev/null", O_WRONLY);
    child_.emplace(bench::commandOf("flowscope", {}, endpoint), descriptors);
    close(ends[0]);
    if (write(input_, line.data(), line.size()) < 0) std::abort();
  }
  PipedConsole(const PipedConsole&) = delete;
  PipedConsole& operator=(const PipedConsole&) = delete;
  ~PipedConsole() { close(input_); }

 private:
  int input_ = -1;
  std::optional<testsupport::Child> child_;
};

void fileToFile(benchmark::State& state) {
  const testsupport::ScratchFolder folder;
  folder.write("device.toml", "[[group]]\nid = 0\nname = \"Keys\"\nsources = 1\n");
  const std::string wanted = lines();
  folder.write("played", wanted);
  const auto log = folder.path() / "log";
  const testsupport::StreamDaemon daemon(FLOWSCOPE_BINARY_DIR "/streamd",
                                         {"--device", folder.path() / "device.toml", "--queue-bytes", "1073741824"});
  const PipedConsole logging(daemon.endpoint(), "to " + log.string() + " " + Port + "\n");
  while (!std::filesystem::exists(log)) std::this_thread::sleep_for(1ms);

  double ours = 0;
  double pipes = 0;
  for (auto _ : state) {
    auto start = Clock::now();
    testsupport::ChildDescriptors descriptors;
    testsupport::Child player(
        bench::commandOf("flowscope", {"-c", "from " + (folder.path() / "played").string() + " " + Port},
                         daemon.endpoint()),
        descriptors);
    while (std::filesystem::file_size(log) < wanted.size()) std::this_thread::sleep_for(1ms);
    ours = seconds(Clock::now() - start);
    player.wait(testsupport::Deadline(bench::Patience));

    start = Clock::now();
    const std::string copy =
        "cat " + (folder.path() / "played").string() + " | cat | cat >" + (folder.path() / "copy").string();
    if (std::system(copy.c_str()) != 0) state.SkipWithError("cat failed");
    pipes = seconds(Clock::now() - start);
  }
  const std::string logged = textOf(log);
  if (logged != wanted) state.SkipWithError("the log is not what was played");
  state.counters["messages_per_second"] = Lines / ours;
  state.counters["lost"] = Lines - static_cast<double>(std::ranges::count(logged, '\n'));
  state.counters["ratio_of_pipes"] = pipes / ours;
}
BENCHMARK(fileToFile)->Name("playback/from file to file")->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
