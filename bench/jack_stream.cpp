// How much of a JACK client's stream arrives in a traffic file of the console and in the output of jack_midi_dump, how
// much processor time each needs, and how soon each shows a message. Prints tables without a verdict. Runs its own
// server.
#include <fcntl.h>
#include <jack/jack.h>
#include <jack/midiport.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/platform/drivers/jack/server/jack_server.h"
#include "tests/support/child.h"
#include "tests/support/pseudo_terminal.h"
#include "tests/support/scratch_folder.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using drivers::jack::JackServer;

constexpr int Samples = 200;

double milliseconds(Clock::duration time) { return std::chrono::duration<double, std::milli>(time).count(); }

// Emits note-ons.
class Source {
 public:
  Source() {
    client_ = jack_client_open("source", JackNoStartServer, nullptr);
    if (client_ == nullptr) throw std::runtime_error("no JACK server");
    port_ = jack_port_register(client_, "out", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
    jack_set_process_callback(
        client_,
        [](jack_nframes_t frames, void* self) {
          static_cast<Source*>(self)->process(frames);
          return 0;
        },
        this);
    jack_activate(client_);
  }
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;
  ~Source() { jack_client_close(client_); }

  // perSecond 0: as many as fit into each period.
  void emit(std::uint32_t count, std::uint32_t perSecond) {
    perSecond_ = perSecond;
    left_ = count;
  }
  bool done() const { return left_ == 0; }
  Clock::time_point lastEmitted() const { return Clock::time_point(Clock::duration(emittedAt_.load())); }
  int listeners() const { return jack_port_connected(port_); }
  double periodMilliseconds() const { return 1000.0 * jack_get_buffer_size(client_) / jack_get_sample_rate(client_); }

 private:
  void process(jack_nframes_t frames) {
    void* buffer = jack_port_get_buffer(port_, frames);
    jack_midi_clear_buffer(buffer);
    std::uint32_t left = left_;
    if (left == 0) {
      owed_ = 0;
      return;
    }
    const std::uint32_t perSecond = perSecond_;
    owed_ += static_cast<double>(perSecond) * frames / jack_get_sample_rate(client_);
    const auto most = perSecond == 0 ? left : std::min(left, static_cast<std::uint32_t>(owed_));
    constexpr std::array<jack_midi_data_t, 3> Note{0x90, 0x3C, 0x40};
    emittedAt_ = Clock::now().time_since_epoch().count();
    std::uint32_t emitted = 0;
    while (emitted < most && jack_midi_max_event_size(buffer) >= Note.size() &&
           jack_midi_event_write(buffer, 0, Note.data(), Note.size()) == 0) {
      ++emitted;
    }
    owed_ -= emitted;
    left_ = left - emitted;
  }

  jack_client_t* client_;
  jack_port_t* port_;
  std::atomic<std::uint32_t> left_{0};
  std::atomic<std::uint32_t> perSecond_{0};
  std::atomic<Clock::rep> emittedAt_{0};
  double owed_ = 0;  // used by the process callback only
};

// User and system time of a process, in seconds.
double processorTime(pid_t process) {
  std::ifstream in("/proc/" + std::to_string(process) + "/stat");
  std::string text(std::istreambuf_iterator<char>(in), {});
  text.erase(0, text.rfind(')') + 1);
  long user = 0;
  long system = 0;
  if (std::sscanf(text.c_str(), " %*c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %ld %ld", &user, &system) != 2) return 0;
  return static_cast<double>(user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

long linesWith(const std::string& file, const std::string& text) {
  std::ifstream in(file);
  long count = 0;
  for (std::string line; std::getline(in, line);) count += line.find(text) != std::string::npos ? 1 : 0;
  return count;
}

testsupport::Command console() {
  auto environment = JackServer::environment();
  environment["EVTSRV_ENDPOINT"] = "embedded:jack";
  return {FLOWSCOPE_BINARY_DIR "/flowscope", {}, environment, {}};
}

testsupport::Command dump() {
  return {"/usr/bin/stdbuf", {"-oL", "jack_midi_dump", "dump"}, JackServer::environment(), {}};
}

void waitUntil(const auto& done) {
  for (const auto end = Clock::now() + 20s; !done();) {
    if (Clock::now() > end) throw std::runtime_error("it does not come");
    std::this_thread::sleep_for(10ms);
  }
}

void measureStream(const JackServer& server, Source& source, const char* name, std::uint32_t count,
                   std::uint32_t perSecond) {
  const testsupport::ScratchFolder folder;
  const std::string seen = folder.path() / "seen";
  const std::string heard = folder.path() / "heard";
  testsupport::ChildDescriptors descriptors;
  descriptors.open(STDIN_FILENO, "/dev/null", O_RDONLY);
  descriptors.open(STDOUT_FILENO, heard, O_WRONLY | O_CREAT);
  descriptors.open(STDERR_FILENO, "/dev/null", O_WRONLY);
  testsupport::Child listener(dump(), descriptors);
  waitUntil([&] { return server.tool("jack_lsp").find("dump:input") != std::string::npos; });
  server.tool("jack_connect", {"source:out", "dump:input"});
  testsupport::PseudoTerminal shell(console(), {});
  shell.type("to " + seen + " /Midi/Source/source/*\r", testsupport::Deadline(5s));
  waitUntil([&] { return source.listeners() == 2; });
  std::this_thread::sleep_for(500ms);
  const double consoleBefore = processorTime(shell.id());
  const double dumpBefore = processorTime(listener.id());
  source.emit(count, perSecond);
  long last = -1;
  for (auto quietSince = Clock::now(); !source.done() || Clock::now() - quietSince < 1s;) {
    shell.read(testsupport::Deadline(50ms));
    const long now = linesWith(seen, "0x90") + linesWith(heard, "note on");
    if (std::exchange(last, now) != now) quietSince = Clock::now();
  }
  const double consoleTime = processorTime(shell.id()) - consoleBefore;
  const double dumpTime = processorTime(listener.id()) - dumpBefore;
  std::printf("%-10s %8u %10ld %7.2f %14ld %7.2f %7.2f\n", name, count, linesWith(seen, "0x90"), consoleTime,
              linesWith(heard, "note on"), dumpTime, dumpTime > 0 ? consoleTime / dumpTime : 0.0);
  const auto& text = shell.output();
  for (auto at = text.find("flowscope: "); at != std::string::npos; at = text.find("flowscope: ", at + 1)) {
    std::printf("    %s\n", text.substr(at, text.find_first_of("\r\n", at) - at).c_str());
  }
  std::fflush(stdout);
  shell.type("quit\r", testsupport::Deadline(5s));
  shell.waitForExit(testsupport::Deadline(5s));
}

double median(std::vector<double> values) {
  std::ranges::sort(values);
  return values.at(values.size() / 2);
}

void measureLatency(const JackServer& server, Source& source) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  const testsupport::UniqueFd read(ends[0]);
  testsupport::UniqueFd write(ends[1]);
  testsupport::ChildDescriptors descriptors;
  descriptors.open(STDIN_FILENO, "/dev/null", O_RDONLY);
  descriptors.duplicate(STDOUT_FILENO, write.get());
  descriptors.open(STDERR_FILENO, "/dev/null", O_WRONLY);
  testsupport::Child listener(dump(), descriptors);
  write.reset();
  waitUntil([&] { return server.tool("jack_lsp").find("dump:input") != std::string::npos; });
  server.tool("jack_connect", {"source:out", "dump:input"});
  testsupport::PseudoTerminal shell(console(), {});
  shell.type("cat /Midi/Source/source/*\r", testsupport::Deadline(5s));
  waitUntil([&] { return source.listeners() == 2; });
  while (shell.read(testsupport::Deadline(300ms))) {
  }
  std::vector<double> ours;
  std::vector<double> theirs;
  std::thread reader([&] {
    std::array<char, 4096> buffer{};
    for (int sample = 0; sample < Samples; ++sample) {
      pollfd ready{read.get(), POLLIN, 0};
      if (poll(&ready, 1, 10'000) != 1 || ::read(read.get(), buffer.data(), buffer.size()) <= 0) return;
      theirs.push_back(milliseconds(Clock::now() - source.lastEmitted()));
    }
  });
  for (int sample = 0; sample < Samples; ++sample) {
    source.emit(1, 0);
    if (!shell.read(testsupport::Deadline(2s))) continue;
    ours.push_back(milliseconds(Clock::now() - source.lastEmitted()));
    while (shell.read(testsupport::Deadline(20ms))) {
    }
  }
  reader.join();
  const double period = source.periodMilliseconds();
  std::printf(
      "\n%d notes, from the process callback of the source: console %.2f, jack_midi_dump %.2f periods of %.2f ms"
      " (medians)\n",
      Samples, median(ours) / period, median(theirs) / period, period);
  shell.type("quit\r", testsupport::Deadline(5s));
  shell.waitForExit(testsupport::Deadline(5s));
}

}  // namespace

int main() {
  try {
    const JackServer server;
    Source source;
    std::puts("stream         sent  flowscope   CPU s jack_midi_dump   CPU s   ratio");
    measureStream(server, source, "1,000/s", 5'000, 1'000);
    measureStream(server, source, "4,000/s", 20'000, 4'000);
    measureStream(server, source, "16,000/s", 80'000, 16'000);
    measureStream(server, source, "at once", 40'000, 0);
    measureLatency(server, source);
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "jack_stream: %s\n", failure.what());
    return 1;
  }
}
