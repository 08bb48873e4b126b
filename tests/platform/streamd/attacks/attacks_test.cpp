// A client that wants to harm a service, and another one beside it that does not notice.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <thread>

#include "tests/platform/streamd/attacks/attack_fixture.h"
#include "tests/support/sanitizer.h"

namespace streamd {
namespace {

// The attack is over after this.
constexpr auto Duration = 2s;

// The service, its buffers for some dozen connections, and what a few clients may leave unread: far below this, and an
// attack that fills memory is far above it.
constexpr double UsualMiB = 64;

// A frame of almost a MiB waits for its end on each of 200 connections; half as much for the growth of buffers.
constexpr double UnfinishedMiB = 300;

// As many clients as connect in the time of the attack, some ten thousand.
constexpr double ManyClientsMiB = 300;

struct Attacked {
  const char* attack;
  double mostMiB;
};

void PrintTo(const Attacked& attacked, std::ostream* out) { *out << attacked.attack; }

class Attacks : public AttackTest, public testing::WithParamInterface<Attacked> {};

TEST_P(Attacks, HarmNobody) {
  const Deadline end(Duration);
  const auto isOver = [&] { return end.passed(); };
  std::thread newcomers([&] { connectAnew(isOver); });
  testsupport::ProcessResult attacker;
  std::thread attacking([&] { attacker = attack(GetParam().attack, Duration); });
  useService(isOver);
  newcomers.join();
  attacking.join();
  EXPECT_EQ(attacker.status, testsupport::ExitStatus::exited(0));
  EXPECT_THAT(attacker.standardOutput, testing::Not(testing::HasSubstr(" 0 connections"))) << "it has attacked";
  if (GetParam().attack == std::string("forged")) {
    EXPECT_THAT(attacker.standardOutput, testing::StartsWith("forged: 0 accepted"));
  }
  printFigures(attacker.standardOutput);
  if (!testsupport::Sanitized) {
    EXPECT_LT(requests_.time(), SlowestAnswer);
    EXPECT_GT(peakMiB(daemon_.id()), 0);
    EXPECT_LT(peakMiB(daemon_.id()), GetParam().mostMiB);
  }

  expectClientsLeft(0);
}

INSTANTIATE_TEST_SUITE_P(Streamd, Attacks,
                         testing::Values(Attacked{"garbage", UsualMiB}, Attacked{"half", UsualMiB},
                                         Attacked{"endless", UnfinishedMiB}, Attacked{"drip", UsualMiB},
                                         Attacked{"storm", UsualMiB}, Attacked{"hellos", ManyClientsMiB},
                                         Attacked{"deaf", UsualMiB}, Attacked{"forged", UsualMiB},
                                         Attacked{"flood", UsualMiB}),
                         [](const auto& row) { return std::string(row.param.attack); });

}  // namespace
}  // namespace streamd
