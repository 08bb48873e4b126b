// A client that uses a service while others harm it.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

#include "tests/platform/client/fixture.h"
#include "tests/platform/streamd/daemon_fixture.h"
#include "tests/platform/streamd/injector.h"
#include "tests/support/deadline.h"
#include "tests/support/process.h"

namespace streamd {

using namespace std::chrono_literals;
using client::Patience;
using client::receiveUntil;
using client::RecordingPort;
using testsupport::Deadline;

// An attack may cost a request 50 ms; a test leaves ten times as much.
inline constexpr auto SlowestAnswer = 500ms;

// The most memory that the process has had, in MiB.
inline double peakMiB(pid_t process) {
  std::ifstream in("/proc/" + std::to_string(process) + "/status");
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("VmHWM:")) return std::stod(line.substr(6)) / 1024;
  }
  return 0;
}

// How long a thread has waited for a processor: the first one of a process, or "thread-self".
inline std::chrono::nanoseconds waitedForProcessor(const std::string& thread) {
  std::ifstream in("/proc/" + thread + "/schedstat");
  std::int64_t ran = 0;
  std::int64_t waited = 0;
  in >> ran >> waited;
  return std::chrono::nanoseconds(waited);
}

// How long the slowest of some requests has taken, without the time for which the machine had no processor for this
// process or the service.
class Slowest {
 public:
  explicit Slowest(pid_t service) : service_(std::to_string(service)) {}

  template <class Request>
  void measure(Request request) {
    const auto waited = [this] { return waitedForProcessor("thread-self") + waitedForProcessor(service_); };
    const auto waitedBefore = waited();
    const auto start = std::chrono::steady_clock::now();
    request();
    const auto took = std::chrono::steady_clock::now() - start;
    time_ = std::max(time_, took - (waited() - waitedBefore));
    ++count_;
  }

  std::chrono::steady_clock::duration time() const { return time_; }
  double milliseconds() const { return std::chrono::duration<double, std::milli>(time_).count(); }
  int count() const { return count_; }

 private:
  std::string service_;
  std::chrono::steady_clock::duration time_{};
  int count_ = 0;
};

class AttackTest : public DaemonTest {
 protected:
  // Asks, injects and receives until the attack is over: nothing fails, and no message is lost.
  void useService(const std::function<bool()>& isOver) {
    Injector injector(daemon_.socket());
    EvtSrv::EventPortManager manager(Behaviour, true);
    RecordingPort port(manager);
    ASSERT_EQ(port.tap(Port), EvtSrv::EvtRes_Success);
    std::uint32_t injected = 0;
    while (!isOver()) {
      requests_.measure([&] { injector.inject(Port, 10); });
      injected += 10;
      requests_.measure([&] { injector.stats(); });
      ASSERT_FALSE(HasFailure()) << "after " << injected << " messages";
      manager.receiveEvent(1);
    }
    EXPECT_TRUE(receiveUntil(manager, [&] { return port.texts.size() >= injected; }));
    EXPECT_EQ(port.texts, receivedFromTo(Port, 0, injected));
    injected_ = injected;
  }

  // Connects again and again: each gets its answer within the time that every client waits for one.
  void connectAnew(const std::function<bool()>& isOver) {
    while (!isOver() && !HasFailure()) {
      greetings_.measure([&] { const Injector newcomer(daemon_.socket()); });
      std::this_thread::sleep_for(10ms);
    }
  }

  // The attacker's run, up to its end.
  testsupport::ProcessResult attack(const std::string& name, std::chrono::milliseconds duration) const {
    const auto seconds = std::to_string(std::chrono::duration<double>(duration).count());
    return testsupport::runProcess({FLOWSCOPE_BINARY_DIR "/attacker", {name, daemon_.socket(), seconds}, {}, {}}, "",
                                   Deadline(Patience));
  }

  void printFigures(const std::string& attack) const {
    std::printf("%s%d requests, the slowest took %.1f ms; %d connections, the slowest took %.1f ms; %.1f MiB at most\n",
                attack.c_str(), requests_.count(), requests_.milliseconds(), greetings_.count(),
                greetings_.milliseconds(), peakMiB(daemon_.id()));
  }

  // The service forgets all but so many clients, and whoever asks.
  void expectClientsLeft(std::size_t count) {
    Injector injector(daemon_.socket());
    const Deadline deadline(Patience);
    while (injector.stats().clients.size() > count + 1 && !deadline.passed()) std::this_thread::sleep_for(10ms);
    EXPECT_EQ(injector.stats().clients.size(), count + 1);
  }

  Slowest requests_{daemon_.id()};
  Slowest greetings_{daemon_.id()};
  std::uint32_t injected_ = 0;  // messages, by useService
};

}  // namespace streamd
