// A client that wants to harm a service, and another one beside it that does not notice.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "tests/platform/client/fixture.h"
#include "tests/platform/streamd/daemon_fixture.h"
#include "tests/platform/streamd/injector.h"
#include "tests/support/deadline.h"
#include "tests/support/process.h"
#include "tests/support/sanitizer.h"

namespace streamd {
namespace {

using namespace std::chrono_literals;
using client::Patience;
using client::receiveUntil;
using client::RecordingPort;
using testsupport::Deadline;

// The attack is over after this.
constexpr auto Duration = 2s;

// An attack may cost a request 50 ms; a test leaves ten times as much.
constexpr auto SlowestAnswer = 500ms;

// The service, its buffers for some dozen connections, and what a few clients may leave unread: far below this, and an
// attack that fills memory is far above it.
constexpr double UsualMiB = 64;

// A frame of almost a MiB waits for its end on each of 200 connections; half as much for the growth of buffers.
constexpr double UnfinishedMiB = 300;

struct Attacked {
  const char* attack;
  double mostMiB;
};

void PrintTo(const Attacked& attacked, std::ostream* out) { *out << attacked.attack; }

// The most memory that the process has had, in MiB.
double peakMiB(pid_t process) {
  std::ifstream in("/proc/" + std::to_string(process) + "/status");
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("VmHWM:")) return std::stod(line.substr(6)) / 1024;
  }
  return 0;
}

// How long a thread has waited for a processor: the first one of a process, or "thread-self".
std::chrono::nanoseconds waitedForProcessor(const std::string& thread) {
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

class Attacks : public DaemonTest, public testing::WithParamInterface<Attacked> {
 protected:
  // Asks, injects and receives until the attack is over: nothing fails, and no message is lost.
  void useService(const Deadline& end) {
    Injector injector(daemon_.socket());
    EvtSrv::EventPortManager manager(Behaviour, true);
    RecordingPort port(manager);
    ASSERT_EQ(port.tap(Port), EvtSrv::EvtRes_Success);
    std::uint32_t injected = 0;
    while (!end.passed()) {
      requests_.measure([&] { injector.inject(Port, 10); });
      injected += 10;
      requests_.measure([&] { injector.stats(); });
      ASSERT_FALSE(HasFailure()) << "after " << injected << " messages";
      manager.receiveEvent(1);
    }
    EXPECT_TRUE(receiveUntil(manager, [&] { return port.texts.size() >= injected; }));
    EXPECT_EQ(port.texts, receivedFromTo(Port, 0, injected));
  }

  // Connects again and again: each gets its answer within the time that every client waits for one.
  void connectAnew(const Deadline& end) {
    while (!end.passed() && !HasFailure()) {
      greetings_.measure([&] { const Injector newcomer(daemon_.socket()); });
      std::this_thread::sleep_for(10ms);
    }
  }

  Slowest requests_{daemon_.id()};
  Slowest greetings_{daemon_.id()};
};

TEST_P(Attacks, HarmNobody) {
  const Deadline end(Duration);
  std::thread newcomers([&] { connectAnew(end); });
  testsupport::ProcessResult attacker;
  std::thread attack([&] {
    const auto seconds = std::to_string(std::chrono::duration<double>(Duration).count());
    attacker = testsupport::runProcess(
        {FLOWSCOPE_BINARY_DIR "/attacker", {GetParam().attack, daemon_.socket(), seconds}, {}, {}}, "",
        Deadline(Patience));
  });
  useService(end);
  newcomers.join();
  attack.join();
  EXPECT_EQ(attacker.status, testsupport::ExitStatus::exited(0));
  EXPECT_THAT(attacker.standardOutput, testing::Not(testing::HasSubstr(" 0 connections"))) << "it has attacked";
  if (GetParam().attack == std::string("forged")) {
    EXPECT_THAT(attacker.standardOutput, testing::StartsWith("forged: 0 accepted"));
  }
  std::printf("%s%d requests, the slowest took %.1f ms; %d connections, the slowest took %.1f ms; %.1f MiB at most\n",
              attacker.standardOutput.c_str(), requests_.count(), requests_.milliseconds(), greetings_.count(),
              greetings_.milliseconds(), peakMiB(daemon_.id()));
  if (!testsupport::Sanitized) {
    EXPECT_LT(requests_.time(), SlowestAnswer);
    EXPECT_GT(peakMiB(daemon_.id()), 0);
    EXPECT_LT(peakMiB(daemon_.id()), GetParam().mostMiB);
  }

  // The service forgets the attacker.
  Injector injector(daemon_.socket());
  const Deadline deadline(Patience);
  while (injector.stats().clients.size() > 1 && !deadline.passed()) std::this_thread::sleep_for(10ms);
  EXPECT_EQ(injector.stats().clients.size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Streamd, Attacks,
                         testing::Values(Attacked{"garbage", UsualMiB}, Attacked{"half", UsualMiB},
                                         Attacked{"endless", UnfinishedMiB}, Attacked{"drip", UsualMiB},
                                         Attacked{"storm", UsualMiB}, Attacked{"deaf", UsualMiB},
                                         Attacked{"forged", UsualMiB}, Attacked{"flood", UsualMiB}),
                         [](const auto& row) { return std::string(row.param.attack); });

}  // namespace
}  // namespace streamd
