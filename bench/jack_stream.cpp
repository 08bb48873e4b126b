// How much of a JACK client's stream arrives in a traffic file of the console and in the output of jack_midi_dump, how
// much processor time each needs, and how soon each shows a message. Prints tables without a verdict. Runs its own
// server.
//
//   jack_stream [ROUNDS [CONSOLE...]]   ROUNDS times (1 unless given), each of these consoles in turn, which are paths
//                                       of programs; without one, the console of this build
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
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bench/peers.h"
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

long linesWith(const std::string& file, const std::string& text) {
  std::ifstream in(file);
  long count = 0;
  for (std::string line; std::getline(in, line);) count += line.find(text) != std::string::npos ? 1 : 0;
  return count;
}

testsupport::Command console(const std::string& program) {
  auto environment = JackServer::environment();
  environment["EVTSRV_ENDPOINT"] = "embedded:jack";
  return {program, {}, environment, {}};
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

double median(std::vector<double> values) {
  std::ranges::sort(values);
  return values.at(values.size() / 2);
}

// What a console and jack_midi_dump did with the same stream.
struct Both {
  long lines = 0;
  long dumpLines = 0;
  double time = 0;  // processor seconds
  double dumpTime = 0;
};

Both measureStream(const JackServer& server, Source& source, const std::string& program, std::uint32_t count,
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
  testsupport::PseudoTerminal shell(console(program), {});
  shell.type("to " + seen + " /Midi/Source/source/*\r", testsupport::Deadline(5s));
  waitUntil([&] { return source.listeners() == 2; });
  std::this_thread::sleep_for(500ms);
  const double consoleBefore = bench::cpuSeconds(shell.id());
  const double dumpBefore = bench::cpuSeconds(listener.id());
  source.emit(count, perSecond);
  // Counting lines while the stream runs would slow down what is measured.
  while (!source.done()) shell.read(testsupport::Deadline(50ms));
  long last = -1;
  for (auto quietSince = Clock::now(); Clock::now() - quietSince < 500ms;) {
    shell.read(testsupport::Deadline(50ms));
    const long now = linesWith(seen, "0x90") + linesWith(heard, "note on");
    if (std::exchange(last, now) != now) quietSince = Clock::now();
  }
  const Both both{linesWith(seen, "0x90"), linesWith(heard, "note on"), bench::cpuSeconds(shell.id()) - consoleBefore,
                  bench::cpuSeconds(listener.id()) - dumpBefore};
  const auto& text = shell.output();
  for (auto at = text.find("flowscope: "); at != std::string::npos; at = text.find("flowscope: ", at + 1)) {
    std::printf("    %s\n", text.substr(at, text.find_first_of("\r\n", at) - at).c_str());
  }
  shell.type("quit\r", testsupport::Deadline(5s));
  shell.waitForExit(testsupport::Deadline(5s));
  return both;
}

struct Stream {
  const char* name;
  std::uint32_t count;
  std::uint32_t perSecond;
};

void measureStreams(const JackServer& server, Source& source, int rounds, const std::vector<std::string>& programs) {
  std::puts("stream         sent  flowscope  us each jack_midi_dump  us each   ratio");
  for (const auto& [name, count, perSecond] : {Stream{"1,000/s", 5'000, 1'000}, Stream{"4,000/s", 20'000, 4'000},
                                               Stream{"16,000/s", 80'000, 16'000}, Stream{"at once", 40'000, 0}}) {
    std::vector<std::vector<Both>> all(programs.size());
    for (int round = 0; round < rounds; ++round) {
      for (std::size_t i = 0; i < programs.size(); ++i) {
        // Each begins a round as often as the others.
        const std::size_t which = (i + static_cast<std::size_t>(round)) % programs.size();
        all[which].push_back(measureStream(server, source, programs[which], count, perSecond));
      }
    }
    for (std::size_t i = 0; i < programs.size(); ++i) {
      const auto medianOf = [&](const auto& value) {
        std::vector<double> values;
        std::ranges::transform(all[i], std::back_inserter(values), value);
        return median(std::move(values));
      };
      const auto perMessage = [](double time, long lines) {
        return time / static_cast<double>(std::max(lines, 1L)) * 1e6;
      };
      std::printf("%-10s %8u %10.0f %8.2f %14.0f %8.2f %7.2f", name, count,
                  medianOf([](const Both& both) { return static_cast<double>(both.lines); }),
                  medianOf([&](const Both& both) { return perMessage(both.time, both.lines); }),
                  medianOf([](const Both& both) { return static_cast<double>(both.dumpLines); }),
                  medianOf([&](const Both& both) { return perMessage(both.dumpTime, both.dumpLines); }),
                  medianOf([&](const Both& both) {
                    const double bare = perMessage(both.dumpTime, both.dumpLines);
                    return bare > 0 ? perMessage(both.time, both.lines) / bare : 0.0;
                  }));
      std::printf(programs.size() > 1 ? "  %s\n" : "\n", programs[i].c_str());
    }
    std::fflush(stdout);
  }
}

void measureLatency(const JackServer& server, Source& source, const std::string& program) {
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
  testsupport::PseudoTerminal shell(console(program), {});
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

int main(int count, char** words) {
  try {
    const int rounds = count > 1 ? std::stoi(words[1]) : 1;
    std::vector<std::string> programs(words + std::min(count, 2), words + count);
    if (programs.empty()) programs.emplace_back(FLOWSCOPE_BINARY_DIR "/flowscope");
    const JackServer server;
    Source source;
    measureStreams(server, source, rounds, programs);
    for (const std::string& program : programs) measureLatency(server, source, program);
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "jack_stream: %s\n", failure.what());
    return 1;
  }
}
