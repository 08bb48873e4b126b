#include "platform/streamctl/stats_report.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace streamctl {
namespace {

const wire::Stats Sample{
    12, 3400, 5, 1000, {{"flowscope", 4294967295, 2, 7, 3395, 5, 1, 0}, {"two words\n", 1, 0, 5, 5, 0, 1000, 3}}, 0, 4};

TEST(StatsText, HasTotalsAndALineForEachClient) {
  EXPECT_EQ(statsText(Sample),
            "messages in          12\n"
            "messages out         3400\n"
            "messages lost        5\n"
            "messages unsendable  4\n"
            "queue limit          1000 bytes\n"
            "\n"
            "PROGRAM        PROCESS     TAPS  IN  OUT   LOST  UNSENDABLE  QUEUE  FILL\n"
            "flowscope      4294967295  2     7   3395  5     0           1      1%\n"
            "two words\\x0A  1           0     5   5     0     3           1000   100%\n");
}

TEST(StatsText, ShowsUncountedLossesBesideTheCount) {
  wire::Stats stats = Sample;
  stats.uncountedLosses = 1;
  EXPECT_NE(statsText(stats).find("\nmessages lost        5; 1 more loss of unknown size\nmessages unsendable  4\n"),
            std::string::npos);
  stats.uncountedLosses = 2;
  EXPECT_NE(statsText(stats).find("\nmessages lost        5; 2 more losses of unknown size\n"), std::string::npos);
  EXPECT_EQ(nlohmann::json::parse(statsJson(stats))["uncounted_losses"], 2);
}

TEST(StatsText, ShowsNoClientsAndNoQueueLimit) {
  EXPECT_EQ(statsText({}),
            "messages in          0\n"
            "messages out         0\n"
            "messages lost        0\n"
            "messages unsendable  0\n"
            "queue limit          0 bytes\n"
            "\n"
            "PROGRAM  PROCESS  TAPS  IN  OUT  LOST  UNSENDABLE  QUEUE  FILL\n");
  wire::Stats unbounded;
  unbounded.clients.push_back({.program = "p", .process = 1});
  EXPECT_TRUE(statsText(unbounded).ends_with("p        1        0     0   0    0     0           0      -\n"));
}

TEST(StatsJson, HasTheSameNumbers) {
  EXPECT_EQ(nlohmann::json::parse(statsJson(Sample)), nlohmann::json::parse(R"({
    "in": 12, "out": 3400, "lost": 5, "uncounted_losses": 0, "unsendable": 4, "queue_limit": 1000,
    "clients": [
      {"program": "flowscope", "process": 4294967295, "taps": 2, "in": 7, "out": 3395, "lost": 5,
       "unsendable": 0, "queue_bytes": 1},
      {"program": "two words\n", "process": 1, "taps": 0, "in": 5, "out": 5, "lost": 0, "unsendable": 3,
       "queue_bytes": 1000}]})"));
}

}  // namespace
}  // namespace streamctl
