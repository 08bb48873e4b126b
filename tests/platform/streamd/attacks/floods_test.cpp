// Several clients that inject without end, and one that reads what they inject.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <sstream>
#include <string>
#include <thread>
#include <utility>

#include "tests/platform/streamd/attacks/attack_fixture.h"
#include "tests/support/sanitizer.h"

namespace streamd {
namespace {

constexpr auto Duration = 2s;

const std::string FloodedPort = "MidiDinOut1";  // the first source

class CountingPort : public RecordingPort {
 public:
  using RecordingPort::RecordingPort;
  void receiveNoteOn(std::uint8_t /*note*/, std::uint8_t /*velocity*/, std::uint16_t /*group*/) override { ++count; }
  void receiveNoteOff(std::uint8_t /*note*/, std::uint8_t /*velocity*/, std::uint16_t /*group*/) override { ++count; }

  std::uint64_t count = 0;
};

// The sum of "N messages lost" in the lines of the library.
std::uint64_t lossesIn(const std::string& lines) {
  std::istringstream in(lines);
  std::uint64_t sum = 0;
  for (std::string line; std::getline(in, line);) {
    const auto number = line.find_first_of("0123456789");
    if (line.find(" lost: this program reads too slowly") != std::string::npos) sum += std::stoull(line.substr(number));
  }
  return sum;
}

using Floods = AttackTest;

TEST_F(Floods, OneThatReadsGetsAllOrIsToldHowManyAreMissing) {
  testing::internal::CaptureStderr();
  EvtSrv::EventPortManager manager(Behaviour, true);
  CountingPort port(manager);
  ASSERT_EQ(port.tap(FloodedPort), EvtSrv::EvtRes_Success);

  const Deadline end(Duration);
  std::array<testsupport::ProcessResult, 3> attackers;
  std::array<std::thread, attackers.size()> attacks;
  for (std::size_t i = 0; i < attackers.size(); ++i) {
    attacks[i] = std::thread([&, i] { attackers[i] = attack("flood", Duration); });
  }
  std::thread victim([&] { useService([&] { return end.passed(); }); });
  while (!end.passed()) manager.receiveEvent(10);
  victim.join();
  for (auto& each : attacks) each.join();
  std::string lines;
  for (const auto& attacker : attackers) {
    EXPECT_EQ(attacker.status, testsupport::ExitStatus::exited(0));
    EXPECT_THAT(attacker.standardOutput, testing::Not(testing::HasSubstr(" 0 connections"))) << "it has attacked";
    lines += attacker.standardOutput;
  }
  expectClientsLeft(1);  // the one that reads

  const auto stats = Injector(daemon_.socket()).stats();
  ASSERT_GE(stats.clients.size(), 1U);
  const auto& reader = stats.clients.front();
  std::uint64_t lost = 0;
  std::string told;
  EXPECT_TRUE(receiveUntil(manager, [&] { return port.count >= reader.out; }));
  // The line about the last losses follows the last message.
  for (int i = 0; i < 10; ++i) manager.receiveEvent(10);
  told = testing::internal::GetCapturedStderr();
  lost = lossesIn(told);
  printFigures(lines);
  std::printf("%llu received, %llu lost\n", static_cast<unsigned long long>(port.count),
              static_cast<unsigned long long>(lost));
  EXPECT_GT(port.count, 0U);
  EXPECT_EQ(port.count, reader.out);
  EXPECT_EQ(lost, reader.lost);
  EXPECT_EQ(reader.out + reader.lost + injected_, stats.in) << "every message of a flood passes the port";
  if (!testsupport::Sanitized) {
    EXPECT_LT(requests_.time(), SlowestAnswer);
  }
}

}  // namespace
}  // namespace streamd
