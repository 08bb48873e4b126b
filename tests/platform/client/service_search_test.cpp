#include "platform/client/service_search.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "evtsrv.h"
#include "tests/support/scratch_folder.h"

namespace client {
namespace {

using Lines = std::vector<std::string>;

class ServiceSearch : public testing::Test {
 protected:
  // Searches, and writes down what happens. refused: the endpoints that are of no use.
  bool search(const Lines& endpoints, const Lines& refused = {}) {
    lines.clear();
    const auto take = [&](const Connection& connection, const std::string& endpoint) -> std::optional<std::string> {
      lines.push_back("try " + endpoint + (connection.mayReturn() ? " elsewhere" : ""));
      for (const std::string& each : refused) {
        if (each == endpoint) return "of no use";
      }
      return std::nullopt;
    };
    const auto report = [&](const std::string& endpoint, const ConnectionProblem& problem) {
      lines.push_back(endpoint + ": " + problem.cause + (problem.nobodyThere ? " (nobody there)" : ""));
    };
    return findService(endpoints, EvtSrv::ConBehave_DisableOverNetwork, take, report);
  }

  std::string nobodyAt(const std::string& name) const { return "ipc://" + (scratch.path() / name).string(); }

  testsupport::ScratchFolder scratch;
  Lines lines;
};

TEST_F(ServiceSearch, TakesTheFirstAndTriesNoOther) {
  EXPECT_TRUE(search({"embedded:", "nonsense"}));
  EXPECT_EQ(lines, (Lines{"try embedded:"}));
}

TEST_F(ServiceSearch, PassesOverWhereNobodyIsWithoutAWord) {
  EXPECT_TRUE(search({nobodyAt("a"), nobodyAt("b"), "embedded:"}));
  EXPECT_EQ(lines, (Lines{"try embedded:"}));
}

TEST_F(ServiceSearch, NamesTheLastWhereNobodyIs) {
  EXPECT_FALSE(search({nobodyAt("a"), nobodyAt("b")}));
  EXPECT_EQ(lines, (Lines{nobodyAt("b") + ": No such file or directory (nobody there)"}));
}

TEST_F(ServiceSearch, NamesWhatIsWrongAndGoesOn) {
  EXPECT_TRUE(search({"nonsense", "tcp://host:1", "embedded:"}));
  EXPECT_EQ(lines, (Lines{"nonsense: not a valid endpoint (use ipc://PATH or embedded:FILE)",
                          "tcp://host:1: network services are disabled in this program", "try embedded:"}));
}

TEST_F(ServiceSearch, NamesAServiceThatIsOfNoUseAndGoesOn) {
  scratch.write("device.toml", "[[group]]\nid = 0\nname = \"G\"\nsources = 1\n");
  const std::string other = "embedded:" + (scratch.path() / "device.toml").string();
  EXPECT_TRUE(search({"embedded:", other}, {"embedded:"}));
  EXPECT_EQ(lines, (Lines{"try embedded:", "embedded:: of no use", "try " + other}));
  EXPECT_FALSE(search({"embedded:", other}, {"embedded:", other}));
  EXPECT_EQ(lines, (Lines{"try embedded:", "embedded:: of no use", "try " + other, other + ": of no use"}));
}

TEST_F(ServiceSearch, WithoutEndpointsThereIsNone) {
  EXPECT_FALSE(search({}));
  EXPECT_EQ(lines, Lines{});
}

}  // namespace
}  // namespace client
