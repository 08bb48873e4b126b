// Who may come to a streamd: its owner and its group, no other user. And whose streamd a client takes for a service.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/system/local_socket.h"
#include "tests/platform/streamd/console.h"
#include "tests/support/case_runner.h"
#include "tests/support/child.h"
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
const std::string Stranger = "64123";

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
  for (const std::string& user : {std::string("0"), Stranger}) {
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

// A streamd of another user, at a socket in an open folder.
class ForeignService : public Users {
 protected:
  // Starts streamd as this user, in a folder of that user with this mode, and waits until it listens.
  void start(const std::string& user, fs::perms mode) { startIn(user, mode, user); }

  // The same in a folder of this owner and of root's group.
  void startIn(const std::string& owner, fs::perms mode, const std::string& user) {
    fs::copy_file(FLOWSCOPE_BINARY_DIR "/streamd", folder_.path() / "streamd", fs::copy_options::skip_existing);
    fs::create_directory(open_);
    ASSERT_EQ(chown(open_.c_str(), static_cast<uid_t>(std::stoul(owner)), 0), 0);
    fs::permissions(open_, mode);
    std::vector<std::string> words{"--reuid=" + user,          "--regid=0", "--clear-groups",
                                   folder_.path() / "streamd", "--listen",  "ipc://" + socket()};
    testsupport::ChildDescriptors descriptors;
    descriptors.open(STDERR_FILENO, open_ / "log", O_WRONLY | O_CREAT | O_TRUNC);
    service_.emplace(testsupport::Command{"setpriv", words, testsupport::caseEnvironment(folder_.path()), {}},
                     descriptors);
    const testsupport::Deadline deadline(60s);
    while (sys::whyNobodyListens(socket()) != 0 && !deadline.passed()) std::this_thread::sleep_for(5ms);
    ASSERT_EQ(sys::whyNobodyListens(socket()), 0);
  }

  // It removes its files.
  void stop() {
    service_->signal(SIGTERM);
    ASSERT_EQ(service_->wait(testsupport::Deadline(60s)), ExitStatus::exited(0));
    ASSERT_FALSE(fs::exists(socket()));
  }

  std::string socket() const { return open_ / "socket"; }

  // This program with a user that is in root's group, which may use the socket.
  testsupport::ProcessResult runAs(const std::string& user, const std::string& program, std::vector<std::string> more) {
    fs::copy_file(fs::path(FLOWSCOPE_BINARY_DIR) / program, folder_.path() / program, fs::copy_options::skip_existing);
    std::vector<std::string> words{"--reuid=" + user, "--regid=0", "--clear-groups", folder_.path() / program};
    words.insert(words.end(), more.begin(), more.end());
    auto environment = testsupport::caseEnvironment(folder_.path());
    environment["EVTSRV_ENDPOINT"] = "ipc://" + socket();
    return testsupport::runProcess({"setpriv", words, environment, {}}, "", testsupport::Deadline(60s));
  }

  std::string refusalOf(const std::string& user) const {
    return refusal("all users may listen in " + open_.string(), user);
  }

  std::string refusal(const std::string& why, const std::string& user) const {
    return "ipc://" + socket() + ": not used, because " + why + " and the service runs as user " + user + "\n";
  }

  fs::path open_ = folder_.path() / "open";
  std::optional<testsupport::Child> service_;
};

TEST_F(ForeignService, InAStickyFolderIsRefused) {
  start(Stranger, fs::perms(01777));
  for (const std::string user : {"0", "64124"}) {
    const auto listed = runAs(user, "streamctl", {"list"});
    EXPECT_EQ(listed.status, ExitStatus::exited(1)) << user;
    EXPECT_EQ(listed.standardOutput, "") << user;
    EXPECT_EQ(listed.standardError, "streamctl: " + refusalOf(Stranger)) << user;
    const auto console = runAs(user, "flowscope", {"-c", "ls -r"});
    EXPECT_EQ(console.status, ExitStatus::exited(0)) << user;
    EXPECT_EQ(console.standardError, "flowscope: " + refusalOf(Stranger)) << user;
    EXPECT_THAT(console.standardOutput, Not(HasSubstr("Keyboard"))) << user;
  }
}

TEST_F(ForeignService, OfTheSameUserOrOfRootIsTaken) {
  start(Stranger, fs::perms(01777));
  auto listed = runAs(Stranger, "streamctl", {"list"});
  EXPECT_EQ(listed.status, ExitStatus::exited(0)) << listed.standardError;
  EXPECT_THAT(listed.standardOutput, HasSubstr("Keyboard"));
  stop();
  start("0", fs::perms(01777));
  listed = runAs(Stranger, "streamctl", {"list"});
  EXPECT_EQ(listed.status, ExitStatus::exited(0)) << listed.standardError;
  EXPECT_THAT(listed.standardOutput, HasSubstr("Keyboard"));
}

TEST_F(ForeignService, BelowAStickyFolderIsRefused) {
  const fs::path sticky = open_;
  fs::create_directory(sticky);
  fs::permissions(sticky, fs::perms(01777));
  open_ = sticky / "inner";
  startIn("0", fs::perms(02775), Stranger);
  const auto listed = runAs("0", "streamctl", {"list"});
  EXPECT_EQ(listed.status, ExitStatus::exited(1));
  EXPECT_EQ(listed.standardError, "streamctl: " + refusal("all users may listen in " + sticky.string(), Stranger));
}

TEST_F(ForeignService, InAFolderOfItsOwnIsRefused) {
  start(Stranger, fs::perms(0755));
  auto listed = runAs("0", "streamctl", {"list"});
  EXPECT_EQ(listed.status, ExitStatus::exited(1));
  EXPECT_EQ(listed.standardError, "streamctl: " + refusal(open_.string() + " belongs to user " + Stranger, Stranger));
  listed = runAs(Stranger, "streamctl", {"list"});
  EXPECT_EQ(listed.status, ExitStatus::exited(0)) << listed.standardError;
}

TEST_F(ForeignService, InAFolderOfRootIsTaken) {
  // Not below /tmp, where every service of another user is refused.
  std::string name = "/run/flowscope-test-XXXXXX";
  ASSERT_NE(mkdtemp(name.data()), nullptr);
  open_ = name;
  startIn("0", fs::perms(02775), Stranger);
  for (const std::string user : {"0", "64124"}) {
    const auto listed = runAs(user, "streamctl", {"list"});
    EXPECT_EQ(listed.status, ExitStatus::exited(0)) << user << listed.standardError;
    EXPECT_THAT(listed.standardOutput, HasSubstr("Keyboard")) << user;
  }
  stop();
  fs::remove_all(open_);
}

TEST_F(ForeignService, ThatTakesThePlaceOfTheOwnOneIsNotUsed) {
  start("0", fs::perms(01777));
  streamd::Console console("ipc://" + socket());
  stop();
  start(Stranger, fs::perms(01777));
  EXPECT_TRUE(console.shows("and the service runs as user " + Stranger)) << console.terminal().output();
  console.type("cat Midi/Source/Keyboard/KeyboardOut1");
  EXPECT_TRUE(console.shows("ERROR: ConnectError")) << console.terminal().output();
  stop();
  start("0", fs::perms(01777));
  EXPECT_TRUE(console.shows("connected to the service again")) << console.terminal().output();
}

}  // namespace
