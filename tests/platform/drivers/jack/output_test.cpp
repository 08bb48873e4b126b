// Output ports whose client is about to be closed.
#include "platform/drivers/jack/output.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>

#include "platform/drivers/jack/process_gate.h"
#include "platform/drivers/jack/sink_queue.h"

namespace drivers::jack {
namespace {

constexpr std::array<std::uint8_t, 3> Note{0x90, 1, 2};

TEST(JackOutput, RingOfAnAbandonedPortStaysForAnOpenThatIsUnderWay) {
  const ProcessGate gate;
  Output output(gate);
  const auto number = output.reserve();
  ASSERT_TRUE(number);
  SinkQueue queue(output.ring(*number));
  queue.put(Note);
  queue.put(Note);
  EXPECT_EQ(output.abandon(*number), 2U);
  EXPECT_FALSE(output.waits(*number)) << "the ring is there, and empty";
  EXPECT_NE(output.reserve(), number);
}

TEST(JackOutput, RingOfAClosedPortIsFree) {
  const ProcessGate gate;
  Output output(gate);
  const auto number = output.reserve();
  ASSERT_TRUE(number);
  SinkQueue queue(output.ring(*number));
  queue.put(Note);
  const Output::Closed closed = output.close(*number);
  EXPECT_EQ(closed.port, nullptr);
  EXPECT_EQ(closed.messages, 1U);
  EXPECT_EQ(output.reserve(), number);
}

}  // namespace
}  // namespace drivers::jack
