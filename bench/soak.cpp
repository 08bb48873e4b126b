// Runs a streamd with everything that its clients do, for minutes, and checks that no memory grows and that every
// message is printed or told as lost.
//
// 31 songs loop at forty times their speed, some 57,000 messages a second. A console on a terminal and three times
// streamctl watch receive them all. One of the three is stopped for ten seconds of each minute. In the first minute the
// console's terminal is not read meanwhile and the other two are stopped, too: then the queue of each has been as full
// as it gets, and what grows later is a leak. Another client comes and goes each second; every other time it is killed.
#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "bench/peers.h"
#include "bench/receivers.h"
#include "bench/song_players.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/stream_daemon.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr const char* SongFolder = "/usr/share/games/openttd/baseset/openmsx";
constexpr std::size_t Songs = 31;
constexpr double Speed = 40;

// Less than half a second of the songs. What a full queue has held stays with the process, and a leak of less than that
// would not show: so it is small.
constexpr const char* QueueBytes = "262144";

// A stall of a client begins and ends at these seconds of a minute.
constexpr int StallBegin = 20;
constexpr int StallEnd = 30;

// A fraction of a byte for each message of a minute, or 9 KiB for each client that came and went. What a process has
// resident changes by some ten KiB with the order in which its memory is used.
constexpr double MostGrowthMiB = 0.5;

// Set by a signal that ends the program: it must end what it has started.
volatile std::sig_atomic_t stopSignal = 0;

std::vector<std::filesystem::path> songFiles() {
  std::vector<std::filesystem::path> songs;
  std::error_code none;
  for (const auto& entry : std::filesystem::directory_iterator(SongFolder, none)) {
    if (entry.path().extension() == ".mid") songs.push_back(entry.path());
  }
  std::ranges::sort(songs);
  if (songs.size() < Songs)
    throw std::runtime_error(std::string(SongFolder) + ": songs of openttd-openmsx are missing");
  songs.resize(Songs);
  return songs;
}

std::vector<std::string> portNames() {
  std::vector<std::string> names;
  for (std::size_t song = 0; song < Songs; ++song) names.push_back(bench::SongPlayers::portOf(song));
  return names;
}

// Memory in MiB and processor time in seconds of a process.
struct Use {
  double memory = 0;
  double time = 0;
};

Use useOf(pid_t process) { return {bench::residentMiB(process), bench::cpuSeconds(process)}; }

// The memory and the processor time of a process, minute by minute.
class Usage {
 public:
  Usage(std::string name, pid_t process) : name_(std::move(name)), process_(process), last_(useOf(process)) {}

  // The processor time since the last call.
  Use minute() {
    const Use now = useOf(process_);
    const double time = now.time - last_.time;
    last_ = now;
    return {now.memory, time};
  }

  // Call it each second of the first minute. Its highest point counts: the allocator may have given memory back by the
  // end.
  void look() { peak_ = std::max(peak_, useOf(process_).memory); }

  // How the memory has grown since the first minute; empty if it has not.
  std::string growth() const {
    if (last_.memory <= peak_ + MostGrowthMiB) return {};
    std::array<char, 200> text{};
    std::snprintf(text.data(), text.size(), "the memory of %s grew from %.2f MiB in the first minute to %.2f MiB",
                  name_.c_str(), peak_, last_.memory);
    return text.data();
  }

 private:
  std::string name_;
  pid_t process_;
  Use last_;
  double peak_ = 0;  // of the first minute
};

class Soak {
 public:
  explicit Soak(int minutes) : minutes_(minutes) { waitForTaps(); }

  // Returns false if something was wrong; standard error then says what.
  bool run() {
    std::puts("         messages       resident MiB   processor time s   lost by                             clients");
    std::puts(
        "minute       sent    streamd  console   streamd  console   console  watch 1  watch 2  stalling  that left");
    players_.start();
    const auto start = Clock::now();
    for (int second = 1; second <= 60 * minutes_; ++second) {
      if (second % 60 == StallBegin) stall(second < 60);
      if (second % 60 == StallEnd) goOn();
      const auto end = start + std::chrono::seconds(second);
      visit(end - 500ms, second % 2 == 0 ? SIGTERM : SIGKILL);
      if (!players_.playing()) throw std::runtime_error("streamd takes no messages");
      if (stopSignal != 0) throw std::runtime_error("ended by a signal");
      std::this_thread::sleep_until(end);
      if (second <= 60) look();
      if (second % 60 == 0) showMinute(second / 60);
    }
    players_.stop();
    check();
    std::fflush(stdout);
    return !failed_;
  }

 private:
  struct Receiver {
    const char* name;
    const bench::LineAccount* lines;
    pid_t process;
    std::uint64_t toldBefore = 0;  // the minute
  };

  static std::vector<std::string> arguments(const testsupport::ScratchFolder& folder) {
    folder.write("device.toml", "[[group]]\nid = 0\nname = \"Song\"\nsources = " + std::to_string(Songs) + "\n");
    return {"--device", folder.path() / "device.toml", "--queue-bytes", QueueBytes};
  }

  std::unique_ptr<bench::Watcher> watcher(bench::LineForm form, bool fromTheFirst = true) const {
    return std::make_unique<bench::Watcher>(daemon_.endpoint(), portNames(), form, fromTheFirst);
  }

  void look() {
    streamdUse_.look();
    consoleUse_.look();
  }

  void fail(const std::string& what) {
    std::fflush(stdout);
    std::fprintf(stderr, "soak: %s\n", what.c_str());
    failed_ = true;
  }

  // Until every receiver watches every port.
  void waitForTaps() {
    const testsupport::Deadline deadline(bench::Patience);
    const auto watches = [&](const Receiver& receiver) { return statsOf(receiver).taps == Songs; };
    while (!std::ranges::all_of(receivers_, watches)) {
      if (deadline.passed()) throw std::runtime_error("the receivers do not watch the ports");
      std::this_thread::sleep_for(10ms);
    }
  }

  wire::ClientStats statsOf(const Receiver& receiver) {
    for (const auto& client : players_.stats().clients) {
      if (client.process == static_cast<std::uint32_t>(receiver.process)) return client;
    }
    return {};
  }

  void stall(bool all) {
    stalling_->stall();
    if (!all) return;
    console_.stall();
    text_->stall();
    json_->stall();
  }

  void goOn() {
    stalling_->goOn();
    console_.goOn();
    text_->goOn();
    json_->goOn();
  }

  // A client comes, gets messages, and goes at this time.
  void visit(Clock::time_point end, int signal) {
    const auto visitor = watcher(bench::LineForm::Text, false);
    const testsupport::Deadline deadline(bench::Patience);
    while (visitor->lines().account().printed() == 0 && !deadline.passed()) std::this_thread::sleep_for(5ms);
    std::this_thread::sleep_until(end);
    const auto status = visitor->end(signal);
    const auto account = visitor->lines().account();
    ++visits_;
    visited_ += account.printed();
    const auto expected =
        signal == SIGKILL ? testsupport::ExitStatus::signalled(SIGKILL) : testsupport::ExitStatus::exited(0);
    const std::string name = "client " + std::to_string(visits_) + " that came and went";
    if (status != expected) fail(name + " ended with " + (status ? describe(*status) : "nothing"));
    if (account.printed() == 0) fail(name + " got no message");
    if (account.missing() > account.told()) {
      fail(name + " missed " + std::to_string(account.missing()) + " messages and was told of " +
           std::to_string(account.told()));
    }
    reportStrange(name, visitor->lines());
  }

  void reportStrange(const std::string& name, const bench::LineAccount& lines) {
    if (const auto line = lines.strangeLine(); !line.empty()) fail(name + " printed: " + line);
  }

  void showMinute(int minute) {
    const std::uint64_t sent = players_.sent();
    const Use streamd = streamdUse_.minute();
    const Use console = consoleUse_.minute();
    std::printf("%6d %10llu %10.2f %8.2f %9.2f %8.2f", minute, static_cast<unsigned long long>(sent - sentBefore_),
                streamd.memory, console.memory, streamd.time, console.time);
    sentBefore_ = sent;
    constexpr std::array Widths{9, 8, 8, 9};
    for (std::size_t i = 0; i < receivers_.size(); ++i) {
      auto& receiver = receivers_[i];
      const std::uint64_t told = receiver.lines->account().told();
      std::printf(" %*llu", Widths.at(i), static_cast<unsigned long long>(told - receiver.toldBefore));
      receiver.toldBefore = told;
    }
    std::printf(" %10d\n", visits_);
    std::fflush(stdout);
    for (const Usage* usage : {&streamdUse_, &consoleUse_}) {
      if (const auto growth = usage->growth(); !growth.empty()) fail(growth);
    }
  }

  void check() {
    const std::uint64_t sent = players_.sent();
    const testsupport::Deadline deadline(bench::Patience);
    const auto isComplete = [&](const Receiver& receiver) {
      const auto account = receiver.lines->account();
      return account.printed() + account.told() >= sent;
    };
    while (!std::ranges::all_of(receivers_, isComplete) && !deadline.passed()) std::this_thread::sleep_for(10ms);
    // What comes twice comes now.
    std::this_thread::sleep_for(500ms);
    if (const auto stats = players_.stats(); stats.in != sent) {
      fail(std::to_string(sent) + " messages were sent, streamd counts " + std::to_string(stats.in));
    }
    for (const auto& receiver : receivers_) check(receiver, sent);
    if (stalling_->lines().account().told() == 0) fail("the client that stalls lost nothing, so no loss was counted");
    end("the console", console_.quit());
    for (auto* watcher : {&text_, &json_, &stalling_}) end("a watch", (*watcher)->end(SIGTERM));
    daemon_.signal(SIGTERM);
    end("streamd", daemon_.waitForExit(testsupport::Deadline(bench::Patience)));
    if (failed_) return;
    std::printf(
        "%llu messages sent: each receiver printed every one or was told of its loss; %d clients came and went, "
        "with %llu messages\n",
        static_cast<unsigned long long>(sent), visits_, static_cast<unsigned long long>(visited_));
  }

  void check(const Receiver& receiver, std::uint64_t sent) {
    const auto account = receiver.lines->account();
    const std::string counts = std::string(receiver.name) + ": " + std::to_string(sent) + " messages sent, " +
                               std::to_string(account.printed()) + " printed, " + std::to_string(account.told()) +
                               " told as lost, ";
    const std::uint64_t missing = account.missingOf(players_.sentByPort());
    if (account.printed() + account.told() != sent || missing != account.told()) {
      fail(counts + std::to_string(missing) + " missing between those printed");
    }
    const auto stats = statsOf(receiver);
    if (stats.lost != account.told() || stats.out != account.printed()) {
      fail(counts + "streamd counts " + std::to_string(stats.out) + " and " + std::to_string(stats.lost) + " lost");
    }
    reportStrange(receiver.name, *receiver.lines);
  }

  void end(const char* name, const std::optional<testsupport::ExitStatus>& status) {
    if (status != testsupport::ExitStatus::exited(0)) {
      fail(std::string(name) + " ended with " + (status ? describe(*status) : "nothing"));
    }
  }

  int minutes_;
  testsupport::ScratchFolder folder_;
  testsupport::StreamDaemon daemon_{FLOWSCOPE_BINARY_DIR "/streamd", arguments(folder_)};
  bench::SongPlayers players_{daemon_.socket(), songFiles(), Speed};
  bench::SongConsole console_{daemon_.endpoint(), Songs};
  std::unique_ptr<bench::Watcher> text_ = watcher(bench::LineForm::Text);
  std::unique_ptr<bench::Watcher> json_ = watcher(bench::LineForm::Json);
  std::unique_ptr<bench::Watcher> stalling_ = watcher(bench::LineForm::Text);
  std::array<Receiver, 4> receivers_{{{"the console", &console_.lines(), console_.id()},
                                      {"watch", &text_->lines(), text_->id()},
                                      {"watch --json", &json_->lines(), json_->id()},
                                      {"the watch that stalls", &stalling_->lines(), stalling_->id()}}};
  Usage streamdUse_{"streamd", daemon_.id()};
  Usage consoleUse_{"the console", console_.id()};
  std::uint64_t sentBefore_ = 0;
  int visits_ = 0;
  std::uint64_t visited_ = 0;
  bool failed_ = false;
};

}  // namespace

int main(int count, char** arguments) {
  const int minutes = count == 2 ? std::atoi(arguments[1]) : 0;
  if (minutes < 2 || minutes > 100'000) {
    std::fputs("usage: soak MINUTES (2 or more: memory is compared with that after the first)\n", stderr);
    return 2;
  }
  for (const int signal : {SIGHUP, SIGINT, SIGTERM}) std::signal(signal, [](int caught) { stopSignal = caught; });
  std::signal(SIGPIPE, SIG_IGN);
  try {
    return Soak(minutes).run() ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "soak: %s\n", error.what());
    return 1;
  }
}
