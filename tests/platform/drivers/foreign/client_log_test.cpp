#include "platform/drivers/foreign/client_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace drivers {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

bool gone(const std::string& /*client*/) { return false; }
bool runs(const std::string& /*client*/) { return true; }

TEST(ClientLog, LogsKnownClientsThatLeaveAndReturn) {
  ClientLog log;
  EXPECT_THAT(log.update({"a", "b"}, gone), IsEmpty());
  EXPECT_THAT(log.update({"b", "c"}, gone), ElementsAre("client \"a\" has gone"));
  EXPECT_THAT(log.update({"b", "c"}, gone), IsEmpty());
  EXPECT_THAT(log.update({"c", "a"}, gone), ElementsAre("client \"b\" has gone", "client \"a\" is back"));
}

TEST(ClientLog, AClientWithoutPortsHasNotGone) {
  ClientLog log;
  log.update({"a"}, gone);
  EXPECT_THAT(log.update({}, runs), IsEmpty());
  EXPECT_THAT(log.update({"a"}, gone), IsEmpty());
  log.update({}, runs);
  EXPECT_THAT(log.update({}, gone), ElementsAre("client \"a\" has gone"));
}

TEST(ClientLog, ClientsThatLeaveWithTheServerAreNotLogged) {
  ClientLog log;
  log.update({"a"}, gone);
  log.serverGone();
  EXPECT_THAT(log.update({"a"}, gone), IsEmpty());
}

}  // namespace
}  // namespace drivers
