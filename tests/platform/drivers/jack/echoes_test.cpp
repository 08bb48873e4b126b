#include "platform/drivers/jack/echoes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace drivers::jack {
namespace {

using testing::ElementsAre;

// Which of these changes of one connection are news: C made, D ended; those we made ourselves before are own.
std::vector<bool> news(const std::string& own, const std::string& told) {
  Echoes echoes;
  for (const char change : own) echoes.expect("a", "b", change == 'C');
  std::vector<bool> all;
  for (const char change : told) all.push_back(echoes.isNews("a", "b", change == 'C'));
  return all;
}

TEST(Echoes, ChangesOfOtherClientsAreNews) { EXPECT_THAT(news("", "CDC"), ElementsAre(true, true, true)); }

TEST(Echoes, OwnChangesAreNoNews) {
  EXPECT_THAT(news("C", "C"), ElementsAre(false));
  EXPECT_THAT(news("CDCD", "CDCD"), ElementsAre(false, false, false, false));
  EXPECT_THAT(news("C", "CD"), ElementsAre(false, true));
}

TEST(Echoes, ChangesOlderThanAnOwnOneAreNoNews) {
  // Another has ended it before we made it.
  EXPECT_THAT(news("C", "DC"), ElementsAre(false, false));
  // Another has ended what we made, and we have made it again.
  EXPECT_THAT(news("CC", "CDCD"), ElementsAre(false, false, false, true));
}

TEST(Echoes, AreExpectedForEachConnectionSeparately) {
  Echoes echoes;
  echoes.expect("a", "b", true);
  EXPECT_TRUE(echoes.isNews("a", "c", true));
  EXPECT_TRUE(echoes.isNews("b", "a", true));
  EXPECT_FALSE(echoes.isNews("a", "b", true));
  EXPECT_TRUE(echoes.isNews("a", "b", true));
}

TEST(Echoes, AreNotExpectedFromAServerThatHasGone) {
  Echoes echoes;
  echoes.expect("a", "b", true);
  echoes.clear();
  EXPECT_TRUE(echoes.isNews("a", "b", true));
}

}  // namespace
}  // namespace drivers::jack
