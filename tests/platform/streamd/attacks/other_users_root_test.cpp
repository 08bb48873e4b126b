// A user who wants the session of another one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/channel/connector.h"
#include "platform/channel/control_channel.h"
#include "tests/support/process.h"
#include "tests/support/root_test.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/stream_daemon.h"

namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::StartsWith;

namespace fs = std::filesystem;

// A user and a group that no machine has.
constexpr const char* Stranger = "64123";

class OtherUsers : public testsupport::RootTest {
 protected:
  void SetUp() override {
    RootTest::SetUp();
    if (IsSkipped()) return;
    fs::copy_file(FLOWSCOPE_BINARY_DIR "/attacker", folder_.path() / "attacker");
    for (const fs::path& folder : {folder_.path(), daemonFolder()}) fs::permissions(folder, fs::perms(0755));
    ASSERT_TRUE(control_.greet(channel::Deadline(10s)));
  }

  fs::path daemonFolder() const { return fs::path(daemon_.socket()).parent_path(); }

  std::vector<std::string> stolenWords() const {
    const auto& welcome = control_.welcome();
    return {"stolen",
            daemon_.socket(),
            "5",
            std::to_string(welcome.session),
            std::to_string(welcome.token.high),
            std::to_string(welcome.token.low)};
  }

  // The attacker's line, run by this user of this group alone.
  std::string attackAs(const std::string& user, const std::string& group, std::vector<std::string> words) const {
    words.insert(words.begin(), {"--reuid=" + user, "--regid=" + group, "--clear-groups", folder_.path() / "attacker"});
    const auto result = testsupport::runProcess({"setpriv", words, {}, {}}, "", testsupport::Deadline(60s));
    EXPECT_EQ(result.status, testsupport::ExitStatus::exited(0)) << result.standardError;
    return result.standardOutput;
  }

  testsupport::ScratchFolder folder_;
  testsupport::StreamDaemon daemon_{FLOWSCOPE_BINARY_DIR "/streamd"};
  channel::Connector connector_ = channel::Connector::toLocalSocket(daemon_.socket());
  channel::ControlChannel control_{connector_};
};

TEST_F(OtherUsers, DoNotGetASessionByItsToken) {
  EXPECT_THAT(attackAs(Stranger, "0", stolenWords()), StartsWith("stolen: events 4, graph 4, request 4, on 3 conn"));
  EXPECT_TRUE(control_.ask<wire::Stats>(wire::AskStats{control_.session()})) << "the session has not suffered";
  // The same from its own user shows that the token was right. Requests belong to the control channel all the same.
  EXPECT_THAT(attackAs("0", "0", stolenWords()), StartsWith("stolen: events 0, graph 0, request 4, on 3 conn"));
}

TEST_F(OtherUsers, GuessInVain) {
  EXPECT_THAT(attackAs(Stranger, "0", {"forged", daemon_.socket(), "0.5"}), StartsWith("forged: 0 accepted of "));
}

TEST_F(OtherUsers, CannotConnectWherePermissionsForbidIt) {
  const auto refused = StartsWith("stolen: events none, graph none, request none, on 0 connections, 3 refused");
  // The socket lets its owner and its group in.
  EXPECT_EQ(fs::status(daemon_.socket()).permissions(), fs::perms(0660));
  EXPECT_THAT(attackAs(Stranger, Stranger, stolenWords()), refused);
  // So does its folder.
  fs::permissions(daemonFolder(), fs::perms(0700));
  EXPECT_THAT(attackAs(Stranger, "0", stolenWords()), refused);
  EXPECT_THAT(attackAs(Stranger, "0", {"storm", daemon_.socket(), "0.2"}), HasSubstr(": 0 connections"));
}

}  // namespace
