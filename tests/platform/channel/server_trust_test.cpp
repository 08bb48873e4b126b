#include "platform/channel/server_trust.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/system/local_socket.h"
#include "platform/system/user_namespace.h"
#include "tests/support/scratch_folder.h"

namespace channel {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

constexpr std::uint32_t Own = 1000;
constexpr std::uint32_t Other = 1001;
constexpr std::uint32_t Nobody = 65534;

const std::string InTmp = "all users may listen in /tmp";

TEST(ServerTrust, RootAndTheOwnUserAreTrusted) {
  for (const std::uint32_t own : {0U, Own}) {
    EXPECT_EQ(whyNotTrusted(InTmp, {0, own, {}}), std::nullopt) << own;
    EXPECT_EQ(whyNotTrusted(InTmp, {own, own, {}}), std::nullopt) << own;
  }
}

TEST(ServerTrust, OtherUsersAreNot) {
  EXPECT_EQ(whyNotTrusted(InTmp, {Other, Own, {}}),
            "not used, because all users may listen in /tmp and the service runs as user 1001");
  EXPECT_TRUE(whyNotTrusted(InTmp, {Other, 0, {}})) << "for root neither";
}

TEST(ServerTrust, OutsideOfUserNamespacesNobodyIsAUserLikeOthers) {
  EXPECT_EQ(whyNotTrusted(InTmp, {Nobody, Nobody, {}}), std::nullopt);
  EXPECT_TRUE(whyNotTrusted(InTmp, {Nobody, Own, {}}));
}

TEST(ServerTrust, InAUserNamespaceOnlyKnownUsersAreTrusted) {
  EXPECT_EQ(whyNotTrusted(InTmp, {0, Own, Nobody}), std::nullopt);
  EXPECT_EQ(whyNotTrusted(InTmp, {Own, Own, Nobody}), std::nullopt);
  EXPECT_EQ(whyNotTrusted(InTmp, {Nobody, Own, Nobody}),
            "not used, because all users may listen in /tmp and the service runs as a user whom this user namespace "
            "does not know");
  EXPECT_TRUE(whyNotTrusted(InTmp, {Nobody, Nobody, Nobody})) << "the own user is unknown as well";
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
bool isChecked(const fs::path& path) {
  try {
    requireTrustedServer(-1, path);
    return false;
  } catch (const UntrustedServer& refused) {
    EXPECT_THAT(refused.what(), HasSubstr("does not say who runs the service"));
    return true;
  }
}

TEST(ServerTrust, IsCheckedInAndBelowStickyFolders) {
  const testsupport::ScratchFolder folder;
  const fs::path sticky = folder.path() / "sticky";
  fs::create_directory(sticky);
  fs::permissions(sticky, fs::perms(01777));
  EXPECT_TRUE(isChecked(sticky / "socket"));
  fs::create_directory(sticky / "inner");
  EXPECT_TRUE(isChecked(sticky / "inner" / "socket"));
  fs::create_symlink(sticky / "inner", folder.path() / "link");
  EXPECT_TRUE(isChecked(folder.path() / "link" / "socket"));
}

TEST(ServerTrust, IsNotCheckedWhereOthersMayNotListen) {
  if (!sys::usersAreKnown()) GTEST_SKIP() << "root may be unknown in this user namespace";
  EXPECT_FALSE(isChecked("/proc/self/socket"));
  EXPECT_FALSE(isChecked("/proc/missing/socket"));
}

}  // namespace
}  // namespace channel
