// Thousands of clients that die at once.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <string>
#include <thread>

#include "tests/platform/streamd/attacks/attack_fixture.h"
#include "tests/support/sanitizer.h"

namespace streamd {
namespace {

using Crowds = AttackTest;

// The service never holds up a client while it forgets the others, and forgets them all.
TEST_F(Crowds, DeathOfACrowdHarmsNobody) {
  std::atomic<bool> isOver = false;
  testsupport::ProcessResult crowd;
  std::chrono::steady_clock::duration forgetting{};
  std::thread dying([&] {
    crowd = attack("crowd", 10s);
    const auto start = std::chrono::steady_clock::now();
    expectClientsLeft(2);  // see below
    forgetting = std::chrono::steady_clock::now() - start;
    isOver = true;
  });
  useService([&] { return isOver.load(); });
  dying.join();
  EXPECT_EQ(crowd.status, testsupport::ExitStatus::signalled(SIGKILL));
  EXPECT_THAT(crowd.standardOutput, testing::ContainsRegex("crowd: [1-9][0-9]{2,} clients"));
  printFigures(crowd.standardOutput);
  std::printf("forgotten after %.0f ms\n", std::chrono::duration<double, std::milli>(forgetting).count());
  if (!testsupport::Sanitized) {
    EXPECT_LT(requests_.time(), SlowestAnswer);
  }
}

}  // namespace
}  // namespace streamd
