// The service's memory has a ceiling, whatever its clients do, and who reads in time notices nothing.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "tests/platform/client/fixture.h"
#include "tests/platform/host/raw_client.h"
#include "tests/platform/service/received.h"
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

constexpr double CeilingMiB = 32;

// The program itself, with its libraries, its device, and what the allocator cannot use at once.
constexpr double ProcessMiB = 24;

double statusMiB(pid_t process, const std::string& field) {
  std::ifstream in("/proc/" + std::to_string(process) + "/status");
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with(field + ":")) return std::stod(line.substr(field.size() + 1)) / 1024;
  }
  return 0;
}

// A client that taps the port and reads no event, until it is asked to.
class Deaf {
 public:
  Deaf(const std::string& socket, bool opensEvents) : socket_(socket), control_(socket) {
    control_.send(1, wire::Hello{});
    const auto answer = decoded(control_.receive());
    if (const auto* welcome = answer ? std::get_if<wire::Welcome>(&answer->body) : nullptr) welcome_ = *welcome;
    control_.send(2, wire::Tap{welcome_.session, 1, 1004, Port});
    isReady_ = isOk(control_.receive()) && (!opensEvents || open());
  }

  bool isReady() const { return isReady_; }

  bool open() {
    events_.emplace(socket_);
    events_->send(3, wire::OpenEvents{welcome_.session, welcome_.token});
    return isOk(events_->receive());
  }

  struct Count {
    std::uint64_t received = 0;
    std::uint64_t lost = 0;
    std::uint64_t outOfOrder = 0;
  };

  // Reads, once it is open, until so many were received or are known to be lost, or nothing comes any more.
  Count readAll(std::uint64_t count) {
    Count counted;
    std::uint64_t bytes = 0;
    while (counted.received + counted.lost < count) {
      const auto message = events_->receive();
      const auto envelope = decoded(message);
      const auto* events = envelope ? std::get_if<wire::Events>(&envelope->body) : nullptr;
      if (events == nullptr) break;
      for (const auto& one : service::readEntries(events->entries)) {
        if (one.lost == 0 && one.group != ((counted.received + counted.lost) & 0xFFFFU)) ++counted.outOfOrder;
        counted.received += one.lost > 0 ? 0 : 1;
        counted.lost += one.lost;
      }
      bytes += events->entries.size();
      events_->send(0, wire::Consumed{welcome_.session, bytes});
    }
    return counted;
  }

 private:
  static std::optional<wire::Envelope> decoded(const std::optional<std::vector<std::uint8_t>>& message) {
    return message ? wire::decode(*message) : std::nullopt;
  }

  static bool isOk(const std::optional<std::vector<std::uint8_t>>& message) {
    const auto envelope = decoded(message);
    const auto* result = envelope ? std::get_if<wire::Result>(&envelope->body) : nullptr;
    return result != nullptr && result->status == device::Status::Ok;
  }

  std::string socket_;
  host::RawClient control_;
  std::optional<host::RawClient> events_;
  wire::Welcome welcome_;
  bool isReady_ = false;
};

class Memory : public DaemonTest {
 protected:
  Memory() : DaemonTest({"--memory", "32MiB"}) {}

  void expectBelowCeiling() {
    const double peak = statusMiB(daemon_.id(), "VmHWM");
    std::printf("%.1f MiB at most, %.1f MiB now\n", peak, statusMiB(daemon_.id(), "VmRSS"));
    if (testsupport::Sanitized) return;
    EXPECT_GT(peak, 0);
    EXPECT_LT(peak, CeilingMiB + ProcessMiB);
  }

  std::size_t timesLogged(const std::string& text) const {
    const std::string log = daemon_.log();
    std::size_t times = 0;
    for (auto at = log.find(text); at != std::string::npos; at = log.find(text, at + 1)) ++times;
    return times;
  }
};

// Each of them may have a queue of 8 MiB, all together 160 MiB.
TEST_F(Memory, ClientsThatReadNothingLoseTheirOldestMessages) {
  constexpr std::uint64_t Total = 12'000;
  constexpr std::size_t Bytes = 1000;
  constexpr std::uint64_t AtOnce = 50;
  std::vector<std::unique_ptr<Deaf>> deaf;
  for (int i = 0; i < 20; ++i) {
    deaf.push_back(std::make_unique<Deaf>(daemon_.socket(), i % 2 == 0));
    ASSERT_TRUE(deaf.back()->isReady());
  }
  Injector injector(daemon_.socket());
  EvtSrv::EventPortManager manager(Behaviour, true);
  RecordingPort victim(manager);
  ASSERT_EQ(victim.tap(Port), EvtSrv::EvtRes_Success);

  std::vector<std::uint8_t> tune(Bytes, 1);
  tune.front() = 0xF0;
  tune.back() = 0xF7;
  for (std::uint64_t injected = 0; injected < Total;) {
    std::vector<wire::InjectItem> items;
    for (std::uint64_t i = 0; i < AtOnce; ++i) items.push_back({static_cast<std::uint16_t>(injected++), tune});
    ASSERT_TRUE(injector.control().inject(Port, std::move(items)));
    ASSERT_TRUE(injector.control().finish());
    ASSERT_TRUE(receiveUntil(manager, [&] { return victim.texts.size() >= injected; }));
  }
  expectBelowCeiling();
  ASSERT_EQ(victim.texts.size(), Total);
  for (std::uint64_t i = 0; i < Total; ++i) {
    ASSERT_EQ(victim.texts[i], Port + ": 1000 bytes to 247 " + std::to_string(i & 0xFFFFU));
  }

  std::uint64_t losers = 0;
  std::uint64_t waiting = 0;
  const wire::Stats stats = injector.stats();
  for (const wire::ClientStats& client : stats.clients) {
    if (client.taps == 0) continue;
    EXPECT_EQ(client.out + client.lost, Total);
    losers += client.lost > 0 ? 1 : 0;
    waiting += client.queueBytes;
  }
  EXPECT_EQ(losers, deaf.size()) << "all but the victim";
  EXPECT_LT(waiting, std::uint64_t{17} << 20U);
  EXPECT_GT(waiting, std::uint64_t{10} << 20U) << "no more is lost than needed";
  EXPECT_EQ(timesLogged("holds too much memory"), 0U) << "records go before connections";

  for (std::size_t i = 0; i < deaf.size(); ++i) {
    if (i % 2 == 1) {
      ASSERT_TRUE(deaf[i]->open());
    }
    const Deaf::Count count = deaf[i]->readAll(Total);
    EXPECT_EQ(count.received + count.lost, Total) << i;
    EXPECT_GT(count.lost, 0U) << i;
    EXPECT_EQ(count.outOfOrder, 0U) << i << ": the loss stands at its place";
  }
  const wire::Stats after = injector.stats();
  EXPECT_EQ(after.lost, stats.lost) << "nothing more was lost";
  std::printf("%.1f MiB when nothing waits\n", statusMiB(daemon_.id(), "VmRSS"));
}

// The longest messages, to many, in one go: each would take 20 MiB.
TEST_F(Memory, LongMessagesToManyAreBoundedToo) {
  std::vector<std::unique_ptr<Deaf>> deaf;
  for (int i = 0; i < 20; ++i) deaf.push_back(std::make_unique<Deaf>(daemon_.socket(), false));
  Injector injector(daemon_.socket());
  std::vector<std::uint8_t> tune(1'000'000, 1);
  tune.front() = 0xF0;
  tune.back() = 0xF7;
  constexpr std::uint64_t Total = 20;
  for (std::uint16_t i = 0; i < Total; ++i) {
    ASSERT_TRUE(injector.control().inject(Port, {{i, tune}}));
    ASSERT_TRUE(injector.control().finish());
  }
  expectBelowCeiling();
  for (const auto& one : deaf) {
    ASSERT_TRUE(one->open());
    const Deaf::Count count = one->readAll(Total);
    EXPECT_EQ(count.received + count.lost, Total);
    EXPECT_EQ(count.outOfOrder, 0U);
  }
}

// 200 connections that each hold almost a MiB of a frame; the victim is a connection of the same user.
TEST_F(Memory, ConnectionsThatHoldTooMuchAreClosed) {
  Injector injector(daemon_.socket());
  EvtSrv::EventPortManager manager(Behaviour, true);
  RecordingPort victim(manager);
  ASSERT_EQ(victim.tap(Port), EvtSrv::EvtRes_Success);
  const Deadline end(2s);
  testsupport::ProcessResult attacker;
  std::thread attack([&] {
    attacker = testsupport::runProcess({FLOWSCOPE_BINARY_DIR "/attacker", {"endless", daemon_.socket(), "2"}, {}, {}},
                                       "", Deadline(Patience));
  });
  std::uint32_t injected = 0;
  for (; !end.passed() && !HasFailure(); injected += 10) {
    injector.inject(Port, 10);
    manager.receiveEvent(1);
  }
  attack.join();
  EXPECT_EQ(attacker.status, testsupport::ExitStatus::exited(0));
  EXPECT_TRUE(receiveUntil(manager, [&] { return victim.texts.size() >= injected; }));
  EXPECT_EQ(victim.texts, receivedFromTo(Port, 0, injected));
  expectBelowCeiling();
  EXPECT_GT(timesLogged("attacker (process "), 0U);
  EXPECT_GT(timesLogged(") disconnected: its user holds too much memory"), 0U);
  EXPECT_EQ(injector.stats().lost, 0U);
}

// Sessions may come and go as fast as they can; the log stays short, and says what it leaves out.
TEST_F(Memory, LogLinesAreBounded) {
  constexpr std::size_t Clients = 600;
  const auto begin = std::chrono::steady_clock::now();
  for (std::size_t i = 0; i < Clients; ++i) {
    host::RawClient client(daemon_.socket());
    ASSERT_NE(client.hello(), 0U);
  }
  Injector injector(daemon_.socket());
  const Deadline deadline(Patience);
  while (injector.stats().clients.size() > 1 && !deadline.passed()) std::this_thread::sleep_for(10ms);
  daemon_.signal(SIGTERM);
  ASSERT_TRUE(daemon_.waitForExit(Deadline(Patience)));
  const auto seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();

  const std::string log = daemon_.log();
  EXPECT_THAT(log, testing::HasSubstr("listening\n"));
  EXPECT_THAT(log, testing::EndsWith("streamd: ended by a signal\n"));
  std::size_t leftOut = 0;
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) {
    if (line.find(" left out: too many in a second") != std::string::npos) leftOut += std::stoul(line.substr(9));
  }
  const std::size_t written = timesLogged(" connected\n") + timesLogged(" lost its connection\n");
  EXPECT_EQ(written + leftOut, 2 * Clients + 1) << log;
  EXPECT_LE(static_cast<double>(written), 300 + 100 * (seconds + 1));
}

}  // namespace
}  // namespace streamd
