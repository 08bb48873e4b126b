#include "platform/channel/late_patches.h"

#include <gtest/gtest.h>

#include <vector>

namespace channel {
namespace {

using device::Link;
using device::Status;
using Requests = std::vector<LatePatches::Request>;

constexpr Link One{1, 0, 2, 0};
constexpr Link Two{1, 0, 2, 1};

bool yes(const Link& /*link*/) { return true; }
bool no(const Link& /*link*/) { return false; }

class LatePatchesTest : public testing::Test {
 protected:
  LatePatches late_;
};

TEST_F(LatePatchesTest, WhatWasDoneIsTakenBackOnce) {
  late_.gaveUp(5, One, false);
  late_.gaveUp(6, Two, true);
  EXPECT_FALSE(late_.isDue());
  late_.answered(5, Status::Ok, 10);
  EXPECT_TRUE(late_.isDue());
  EXPECT_EQ(late_.takeBack(10, yes), (Requests{{One, false}}));
  EXPECT_FALSE(late_.empty()) << "the other has no answer";
  late_.answered(6, Status::Ok, 11);
  EXPECT_EQ(late_.takeBack(11, no), (Requests{{Two, true}}));
  EXPECT_TRUE(late_.empty());
  EXPECT_EQ(late_.takeBack(11, no), Requests{});
}

TEST_F(LatePatchesTest, WhatWasNotDoneIsForgotten) {
  for (const Status status : {Status::Nothing, Status::NotFound, Status::Refused, Status::NoSession}) {
    late_.gaveUp(5, One, false);
    late_.answered(5, status, 10);
    EXPECT_TRUE(late_.empty());
  }
}

TEST_F(LatePatchesTest, WaitsForTheMirror) {
  late_.gaveUp(5, One, false);
  late_.answered(5, Status::Ok, 10);
  EXPECT_EQ(late_.takeBack(9, no), Requests{});
  EXPECT_TRUE(late_.isDue());
  EXPECT_EQ(late_.takeBack(12, yes), (Requests{{One, false}}));
}

TEST_F(LatePatchesTest, WhatIsAsItWasStays) {
  late_.gaveUp(5, One, false);
  late_.answered(5, Status::Ok, 10);
  EXPECT_EQ(late_.takeBack(10, no), Requests{}) << "somebody else has removed it";
  late_.gaveUp(6, One, true);
  late_.answered(6, Status::Ok, 11);
  EXPECT_EQ(late_.takeBack(11, yes), Requests{}) << "it existed before, or somebody else has made it again";
  EXPECT_TRUE(late_.empty());
}

TEST_F(LatePatchesTest, WhatIsAskedForAgainStays) {
  late_.gaveUp(5, One, false);
  late_.settled(One);
  late_.answered(5, Status::Ok, 10);
  EXPECT_EQ(late_.takeBack(10, yes), Requests{});
}

TEST_F(LatePatchesTest, SeveralRequestsForOneLinkGoBackToTheBeginning) {
  late_.gaveUp(5, One, false);
  late_.gaveUp(6, One, true);
  late_.answered(5, Status::Ok, 10);
  EXPECT_FALSE(late_.isDue()) << "the second may undo the first";
  late_.answered(6, Status::Refused, 10);
  EXPECT_EQ(late_.takeBack(10, yes), (Requests{{One, false}}));

  late_.gaveUp(7, One, false);
  late_.gaveUp(8, One, true);
  late_.answered(7, Status::Ok, 11);
  late_.answered(8, Status::Ok, 12);
  EXPECT_EQ(late_.takeBack(11, no), Requests{}) << "the mirror does not show the second";
  EXPECT_EQ(late_.takeBack(12, no), Requests{});
  EXPECT_TRUE(late_.empty());
}

TEST_F(LatePatchesTest, OtherTagsAreNotOfThese) {
  late_.gaveUp(5, One, false);
  late_.answered(4, Status::Ok, 10);
  late_.answered(0, Status::Ok, 10);
  EXPECT_FALSE(late_.isDue());
}

}  // namespace
}  // namespace channel
