#include "platform/reach/service_search.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <variant>
#include <vector>

#include "tests/support/scratch_folder.h"

namespace reach {
namespace {

using Lines = std::vector<std::string>;

class ServiceSearch : public testing::Test {
 protected:
  // Searches, and writes down what happens. refused: the endpoints that are of no use.
  bool search(const Lines& endpoints, const Lines& refused = {}) {
    lines.clear();
    const auto take = [&](const channel::Connector& connector,
                          const std::string& endpoint) -> std::optional<std::string> {
      lines.push_back("try " + endpoint + (connector.mayReturn() ? " elsewhere" : ""));
      for (const std::string& each : refused) {
        if (each == endpoint) return "of no use";
      }
      return std::nullopt;
    };
    const auto report = [&](const std::string& endpoint, const channel::ConnectProblem& problem) {
      lines.push_back(endpoint + ": " + problem.cause + (problem.nobodyThere ? " (nobody there)" : ""));
    };
    return findService(endpoints, Network::Refused, take, report);
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

TEST(DefaultAddresses, AreTheWellKnownSocketThenWhatThisMachineHas) {
  const char* before = std::getenv("XDG_RUNTIME_DIR");
  const std::string folder = before == nullptr ? "" : before;
  setenv("XDG_RUNTIME_DIR", "/run/user/7", 1);
  EXPECT_EQ(defaultAddresses(), (std::vector<std::string>{"ipc:///run/user/7/streamd/socket", "embedded:alsa",
                                                          "embedded:jack", "embedded:"}));
  const std::vector<std::string> ofTheSystem{"ipc:///run/streamd/socket", "embedded:alsa", "embedded:jack",
                                             "embedded:"};
  setenv("XDG_RUNTIME_DIR", "", 1);
  EXPECT_EQ(defaultAddresses(), ofTheSystem);
  unsetenv("XDG_RUNTIME_DIR");
  EXPECT_EQ(defaultAddresses(), ofTheSystem);
  if (before != nullptr) setenv("XDG_RUNTIME_DIR", folder.c_str(), 1);
}

TEST_F(ServiceSearch, ServicesOverTheNetworkAreRefusedByChoice) {
  const auto cause = [](Network network) {
    return std::get<channel::ConnectProblem>(openAddress("tcp://host:5", network)).cause;
  };
  EXPECT_NE(cause(Network::Refused), cause(Network::Allowed));
}

}  // namespace
}  // namespace reach
