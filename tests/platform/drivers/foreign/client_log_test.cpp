#include "platform/drivers/foreign/client_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace drivers {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Clients of a system where names are unique.
std::vector<ForeignClient> named(const std::vector<std::string>& names) {
  std::vector<ForeignClient> clients;
  for (const std::string& name : names) clients.push_back({0, name, {}});
  return clients;
}

bool gone(const std::string& /*client*/) { return false; }
bool runs(const std::string& /*client*/) { return true; }

TEST(ClientLog, LogsKnownClientsThatLeaveAndReturn) {
  ClientLog log;
  EXPECT_THAT(log.update(named({"a", "b"}), gone), IsEmpty());
  EXPECT_THAT(log.update(named({"b", "c"}), gone), ElementsAre("client \"a\" disconnected"));
  EXPECT_THAT(log.update(named({"b", "c"}), gone), IsEmpty());
  EXPECT_THAT(log.update(named({"c", "a"}), gone),
              ElementsAre("client \"b\" disconnected", "client \"a\" connected again"));
}

TEST(ClientLog, AClientWithoutPortsHasNotGone) {
  ClientLog log;
  log.update(named({"a"}), gone);
  EXPECT_THAT(log.update(named({}), runs), IsEmpty());
  EXPECT_THAT(log.update(named({"a"}), gone), IsEmpty());
  log.update(named({}), runs);
  EXPECT_THAT(log.update(named({}), gone), ElementsAre("client \"a\" disconnected"));
}

TEST(ClientLog, ClientsThatLeaveWithTheServerAreNotLogged) {
  ClientLog log;
  log.update(named({"a"}), gone);
  log.systemGone();
  EXPECT_THAT(log.update(named({"a"}), gone), IsEmpty());
}

TEST(ClientLog, TellsClientsOfOneNameApartByTheirKeys) {
  ClientLog log;
  const ForeignClient one{1, "one", {}};
  const ForeignClient two{2, "two", {}};
  const std::vector<ForeignClient> both{one, two};
  EXPECT_THAT(log.update(both), IsEmpty());
  EXPECT_THAT(log.update(std::vector{two}), ElementsAre("client \"one\" disconnected"));
  EXPECT_THAT(log.update(std::vector{two}), IsEmpty());
  // New, under a number that was another's.
  const std::vector<ForeignClient> three{two, {1, "three", {}}};
  EXPECT_THAT(log.update(three), IsEmpty());
  const std::vector<ForeignClient> again{two, {1, "three", {}}, {5, "one", {}}, {6, "one", {}}};
  EXPECT_THAT(log.update(again), ElementsAre("client \"one\" connected again"));
}

}  // namespace
}  // namespace drivers
