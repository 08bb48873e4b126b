#include "platform/channel/server_trust.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "platform/system/local_socket.h"
#include "tests/support/scratch_folder.h"

namespace channel {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

constexpr std::uint32_t Own = 1000;
constexpr std::uint32_t Other = 1001;
constexpr std::uint32_t Nobody = 65534;

TEST(ServerTrust, RootAndTheOwnUserAreTrusted) {
  for (const std::uint32_t own : {0U, Own}) {
    EXPECT_EQ(whyNotTrusted("/tmp", {0, own, {}}), std::nullopt) << own;
    EXPECT_EQ(whyNotTrusted("/tmp", {own, own, {}}), std::nullopt) << own;
  }
}

TEST(ServerTrust, OtherUsersAreNot) {
  EXPECT_EQ(whyNotTrusted("/tmp", {Other, Own, {}}),
            "not used, because all users may listen in /tmp and the service runs as user 1001");
  EXPECT_TRUE(whyNotTrusted("/tmp", {Other, 0, {}})) << "for root neither";
}

TEST(ServerTrust, OutsideOfUserNamespacesNobodyIsAUserLikeOthers) {
  EXPECT_EQ(whyNotTrusted("/tmp", {Nobody, Nobody, {}}), std::nullopt);
  EXPECT_TRUE(whyNotTrusted("/tmp", {Nobody, Own, {}}));
}

TEST(ServerTrust, InAUserNamespaceOnlyKnownUsersAreTrusted) {
  EXPECT_EQ(whyNotTrusted("/tmp", {0, Own, Nobody}), std::nullopt);
  EXPECT_EQ(whyNotTrusted("/tmp", {Own, Own, Nobody}), std::nullopt);
  EXPECT_EQ(whyNotTrusted("/tmp", {Nobody, Own, Nobody}),
            "not used, because all users may listen in /tmp and the service runs as a user whom this user namespace "
            "does not know");
  EXPECT_TRUE(whyNotTrusted("/tmp", {Nobody, Nobody, Nobody})) << "the own user is unknown as well";
}

TEST(ServerTrust, AServerOfTheOwnUserIsTrustedEverywhere) {
  const testsupport::ScratchFolder folder;
  const auto [socket, other] = sys::localSocketPair();
  for (const auto mode : {fs::perms(0700), fs::perms(01777)}) {
    fs::permissions(folder.path(), mode);
    EXPECT_NO_THROW(requireTrustedServer(socket.get(), folder.path() / "socket"));
  }
}

// Something that is no socket has no server, so a check that is made fails.
class WhereItIsChecked : public testing::Test {
 protected:
  WhereItIsChecked() {
    fs::create_directory(sticky_);
    fs::permissions(sticky_, fs::perms(01777));
    fs::create_directory(plain_);
  }

  static bool isChecked(const fs::path& path) {
    try {
      requireTrustedServer(-1, path);
      return false;
    } catch (const UntrustedServer& refused) {
      EXPECT_THAT(refused.what(), HasSubstr("does not say who runs the service"));
      return true;
    }
  }

  testsupport::ScratchFolder folder_;
  fs::path sticky_ = folder_.path() / "sticky";
  fs::path plain_ = folder_.path() / "plain";
};

TEST_F(WhereItIsChecked, InStickyFolders) {
  EXPECT_TRUE(isChecked(sticky_ / "socket"));
  EXPECT_FALSE(isChecked(plain_ / "socket"));
  EXPECT_FALSE(isChecked(folder_.path() / "missing" / "socket"));
}

TEST_F(WhereItIsChecked, BehindALink) {
  std::ofstream(sticky_ / "socket").close();
  fs::create_symlink(sticky_ / "socket", plain_ / "link");
  EXPECT_TRUE(isChecked(plain_ / "link")) << "the socket is in a sticky folder";
  std::ofstream(plain_ / "socket").close();
  fs::create_symlink(plain_ / "socket", sticky_ / "link");
  EXPECT_TRUE(isChecked(sticky_ / "link")) << "the link is";
}

}  // namespace
}  // namespace channel
