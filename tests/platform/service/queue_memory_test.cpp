// Whether a queue says honestly how much memory it takes: compared with what the allocator says.
#include <gtest/gtest.h>
#include <malloc.h>

#include <memory>

#include "tests/platform/service/queue.h"
#include "tests/support/sanitizer.h"

namespace service {
namespace {

// Bytes in use, of all allocations of this process.
std::size_t allocated() {
  const auto use = mallinfo2();
  return use.uordblks + use.hblkhd;
}

struct Load {
  const char* what;
  std::size_t queues;
  std::size_t messages;      // in each
  std::size_t messageBytes;  // of each
  std::uint16_t ports;       // that they come from in turn
  const char* name;          // of each port
  bool drops;                // nine tenths again
};

TEST(QueueMemory, IsWhatTheAllocatorSpends) {
  if (testsupport::Sanitized) GTEST_SKIP() << "the sanitizer has an allocator of its own";
  const char* longName = "APortWithTheLongestNameOfAllWhichHasSixtyThreeBytesIfOneCounts1";
  const Load loads[] = {
      {"one message each", 5000, 1, 3, 1, "p", false},
      {"one message each, long name", 5000, 1, 3, 1, longName, false},
      {"a few messages each", 2000, 20, 3, 1, "p", false},
      {"from many ports", 20, 3000, 3, 3000, longName, false},
      {"short messages", 4, 200'000, 3, 1, "p", false},
      {"short messages of two ports in turn", 4, 100'000, 3, 2, "p", false},
      {"long messages", 4, 40, 100'000, 1, "p", false},
      {"partly dropped", 4, 200'000, 3, 2, "p", true},
  };
  for (const Load& load : loads) {
    std::vector<std::unique_ptr<TapQueue>> queues;
    for (std::size_t i = 0; i < load.queues; ++i) queues.push_back(std::make_unique<TapQueue>(64U << 20U));
    const Bytes message(load.messageBytes, 0xF8);
    const std::size_t before = allocated();
    for (const auto& queue : queues) {
      for (std::size_t i = 0; i < load.messages; ++i) {
        const auto port = static_cast<std::uint16_t>(i % load.ports);
        queue->add(One, out(0, port), load.name, Holder, {0, message}, {});
      }
      if (load.drops) queue->dropOldest(queue->memory() * 9 / 10);
    }
    const auto spent = static_cast<double>(allocated() - before);
    std::size_t counted = 0;
    std::size_t stored = 0;
    for (const auto& queue : queues) {
      counted += queue->memory();
      stored += queue->bytes();
    }
    EXPECT_GT(static_cast<double>(counted), 0.8 * spent) << load.what;
    EXPECT_LT(static_cast<double>(counted), 1.25 * spent) << load.what;
    EXPECT_GE(counted, stored) << load.what;
    Bytes out;
    for (const auto& queue : queues) {
      queue->take(Everything, out);
      EXPECT_EQ(queue->memory(), 0U) << load.what;
      out.clear();
    }
  }
}

}  // namespace
}  // namespace service
