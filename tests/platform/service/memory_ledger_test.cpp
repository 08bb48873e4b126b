#include "platform/service/memory_ledger.h"

#include <gtest/gtest.h>

#include <optional>

namespace service {
namespace {

constexpr std::uint32_t One = 1000;
constexpr std::uint32_t Two = 1001;
constexpr std::uint32_t Three = 1002;

TEST(MemoryLedger, AddsUpEachUserAndWhatIsShared) {
  MemoryLedger ledger(1600);
  ledger.change(One, 0, 100);
  ledger.change(Two, 0, 30);
  ledger.change(One, 100, 70);
  ledger.change(One, 0, 5);
  ledger.setShared(400);
  ledger.setShared(200);
  EXPECT_EQ(ledger.of(One), 75U);
  EXPECT_EQ(ledger.of(Two), 30U);
  EXPECT_EQ(ledger.of(Three), 0U);
  EXPECT_EQ(ledger.shared(), 200U);
  EXPECT_EQ(ledger.total(), 305U);
  ledger.change(Two, 30, 0);
  EXPECT_EQ(ledger.of(Two), 0U);
  EXPECT_EQ(ledger.total(), 275U);
}

TEST(MemoryLedger, OneUserHoldsAtMostHalf) {
  MemoryLedger ledger(1600);
  ledger.change(Two, 0, 10);
  ledger.change(One, 0, 800);
  EXPECT_FALSE(ledger.isOver());
  EXPECT_EQ(ledger.heaviest(), std::nullopt);
  EXPECT_EQ(ledger.excess(), 0U);
  ledger.change(One, 800, 807);
  EXPECT_TRUE(ledger.isOver());
  EXPECT_EQ(ledger.heaviest(), One);
  EXPECT_EQ(ledger.excess(), 7U);
  ledger.change(One, 807, 810);
  EXPECT_EQ(ledger.excess(), 10U);
  ledger.change(One, 10, 0);
  EXPECT_FALSE(ledger.isOver());
  EXPECT_EQ(ledger.excess(), 0U);
}

TEST(MemoryLedger, WhoeverHoldsTheMostIsFirstWhenAllHoldTooMuch) {
  MemoryLedger ledger(1600);
  ledger.change(One, 0, 500);
  ledger.change(Two, 0, 600);
  ledger.change(Three, 0, 400);
  EXPECT_FALSE(ledger.isOver()) << "a sixteenth is kept for new clients";
  ledger.change(Three, 400, 401);
  EXPECT_TRUE(ledger.isOver());
  EXPECT_EQ(ledger.heaviest(), Two);
  EXPECT_EQ(ledger.excess(), 1U);
  ledger.change(Two, 600, 450);
  ledger.change(One, 500, 660);
  EXPECT_EQ(ledger.heaviest(), One);
  EXPECT_EQ(ledger.excess(), 11U);
}

TEST(MemoryLedger, SharedMemoryCountsForAllButIsNobodys) {
  MemoryLedger ledger(1600);
  ledger.setShared(1550);
  EXPECT_TRUE(ledger.isOver());
  EXPECT_EQ(ledger.heaviest(), std::nullopt) << "nobody can give anything back";
  EXPECT_EQ(ledger.excess(), 0U);
  ledger.change(One, 0, 20);
  EXPECT_EQ(ledger.heaviest(), One);
  EXPECT_EQ(ledger.excess(), 20U) << "no more than the user holds";
}

TEST(MemoryLedger, HasRoomUpToTheHalfAndUpToTheReserve) {
  MemoryLedger ledger(1600);
  EXPECT_TRUE(ledger.hasRoom(One, 800));
  EXPECT_FALSE(ledger.hasRoom(One, 801));
  EXPECT_TRUE(ledger.hasSharedRoom(1200));
  EXPECT_FALSE(ledger.hasSharedRoom(1201));
  ledger.change(One, 0, 790);
  ledger.change(Two, 0, 700);
  EXPECT_TRUE(ledger.hasRoom(One, 10));
  EXPECT_FALSE(ledger.hasRoom(One, 11)) << "the user's half";
  ledger.change(Two, 700, 650);
  ledger.change(Three, 0, 50);
  EXPECT_TRUE(ledger.hasRoom(Three, 10));
  EXPECT_FALSE(ledger.hasRoom(Three, 11)) << "the reserve";
  EXPECT_TRUE(ledger.hasSharedRoom(10));
  EXPECT_FALSE(ledger.hasSharedRoom(11));
}

TEST(MemoryLedger, UserWhoHoldsLittleMayUseTheReserve) {
  MemoryLedger ledger(1600);
  ledger.change(One, 0, 750);
  ledger.change(Two, 0, 750);
  EXPECT_FALSE(ledger.hasRoom(One, 1));
  EXPECT_TRUE(ledger.hasRoom(Three, 25));
  EXPECT_FALSE(ledger.hasRoom(Three, 26));
  ledger.change(Three, 0, 20);
  EXPECT_TRUE(ledger.hasRoom(Three, 5));
  EXPECT_FALSE(ledger.hasRoom(Three, 6));
  ledger.change(Two, 750, 790);
  ledger.change(One, 750, 788);
  EXPECT_TRUE(ledger.hasRoom(Three, 2));
  EXPECT_FALSE(ledger.hasRoom(Three, 3)) << "the ceiling";
}

TEST(MemoryLedger, ReserveIsForNewClients) {
  MemoryLedger ledger(1600);
  ledger.change(One, 0, 800);
  ledger.change(Two, 0, 700);
  EXPECT_FALSE(ledger.hasRoom(Three, 26));
  EXPECT_TRUE(ledger.hasRoomForClient(Three, 100));
  EXPECT_FALSE(ledger.hasRoomForClient(Three, 101));
  EXPECT_TRUE(ledger.hasRoomForClient(One, 10)) << "also of a user at the half";
  ledger.change(Two, 700, 0);
  EXPECT_TRUE(ledger.hasRoomForClient(One, 100));
  EXPECT_FALSE(ledger.hasRoomForClient(One, 101)) << "who could not be relieved";
  EXPECT_FALSE(ledger.isFull());
  ledger.change(Two, 0, 800);
  EXPECT_TRUE(ledger.isFull());
}

}  // namespace
}  // namespace service
