#include "platform/drivers/jack/bursts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace service::jack {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Bursts, CountForASecondBeforeTheyAreTold) {
  Bursts bursts;
  EXPECT_EQ(bursts.next(), std::nullopt);
  bursts.add(Burst::NoSuchChannel, 1, 10s);
  bursts.add(Burst::NoSuchChannel, 2, 10s + 900ms);
  bursts.add(Burst::SinkGone, 1, 10s + 500ms);
  EXPECT_EQ(bursts.next(), 11s);
  EXPECT_THAT(bursts.take(10s + 999ms), IsEmpty());
  EXPECT_THAT(bursts.take(11s), ElementsAre("3 messages not sent: a group id above 15 is no MIDI channel"));
  EXPECT_EQ(bursts.next(), 11s + 500ms);
  EXPECT_THAT(bursts.take(12s), ElementsAre("1 message not sent: the port has gone"));
  EXPECT_EQ(bursts.next(), std::nullopt);
  bursts.add(Burst::NotOneMessage, 1, 20s);
  bursts.add(Burst::TooMuch, 5, 20s);
  bursts.add(Burst::Skipped, 2, 20s);
  EXPECT_THAT(bursts.take(21s), ElementsAre("1 message not sent: not one complete MIDI message",
                                            "5 messages not sent: too much waits to go out",
                                            "2 periods skipped, too late: messages in them may be lost"));
}

}  // namespace
}  // namespace service::jack
