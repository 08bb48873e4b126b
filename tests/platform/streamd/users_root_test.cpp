// Who may come to a streamd: its owner and its group, no other user.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/case_runner.h"
#include "tests/support/process.h"
#include "tests/support/root_test.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/stream_daemon.h"

namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;
using testsupport::ExitStatus;

namespace fs = std::filesystem;

// Users that no machine has.
constexpr const char* Stranger = "64123";

class Users : public testsupport::RootTest {
 protected:
  // streamctl's list at the daemon, from a user of this group alone. Nobody else may enter a scratch folder, so the
  // program, which may lie where that user cannot go, and the daemon's folder are opened to all.
  testsupport::ProcessResult listAs(const std::string& user, const std::string& group) const {
    std::vector<std::string> words{"--reuid=" + user,
                                   "--regid=" + group,
                                   "--clear-groups",
                                   folder_.path() / "streamctl",
                                   "--endpoint",
                                   daemon_.endpoint(),
                                   "list"};
    return testsupport::runProcess({"setpriv", words, testsupport::caseEnvironment(folder_.path()), {}}, "",
                                   testsupport::Deadline(60s));
  }

  void SetUp() override {
    RootTest::SetUp();
    if (IsSkipped()) return;
    fs::copy_file(FLOWSCOPE_BINARY_DIR "/streamctl", folder_.path() / "streamctl");
    for (const fs::path& folder : {folder_.path(), fs::path(daemon_.socket()).parent_path()}) {
      fs::permissions(folder, fs::perms(0755));
    }
  }

  testsupport::ScratchFolder folder_;
  testsupport::StreamDaemon daemon_{FLOWSCOPE_BINARY_DIR "/streamd"};
};

TEST_F(Users, OwnerAndGroupMayConnect) {
  for (const std::string user : {"0", Stranger}) {
    const auto listed = listAs(user, "0");
    EXPECT_EQ(listed.status, ExitStatus::exited(0)) << user << listed.standardError;
    EXPECT_THAT(listed.standardOutput, HasSubstr("Keyboard")) << user;
  }
}

TEST_F(Users, OtherUsersAreToldThatPermissionIsDenied) {
  const auto listed = listAs(Stranger, Stranger);
  EXPECT_EQ(listed.status, ExitStatus::exited(1));
  EXPECT_EQ(listed.standardOutput, "");
  EXPECT_THAT(listed.standardError, HasSubstr("Permission denied"));
  EXPECT_THAT(daemon_.log(), Not(HasSubstr("streamctl")));
}

}  // namespace
