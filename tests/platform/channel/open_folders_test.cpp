#include "platform/channel/open_folders.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "platform/system/user_namespace.h"
#include "tests/support/scratch_folder.h"

namespace channel {
namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t Own = 1000;
constexpr std::uint32_t Stranger = 1001;

// A tree of files of several users.
class OpenFolders : public testing::Test {
 protected:
  OpenFolders() {
    folder("/", 0, 0755);
    folder("/tmp", 0, 01777);
    folder("/run", 0, 0755);
    folder("/home", 0, 0755);
    folder("/home/own", Own, 0755);
    folder("/home/stranger", Stranger, 0755);
  }

  void folder(const std::string& path, std::uint32_t owner, mode_t mode) { tree_[path] = {owner, S_IFDIR | mode, {}}; }
  void socket(const std::string& path) { tree_[path] = {Stranger, S_IFSOCK | 0777, {}}; }
  void link(const std::string& path, const std::string& target) { tree_[path] = {Own, S_IFLNK | 0777, target}; }

  // The reason; "" if there is none.
  std::string why(const std::string& path) const {
    const auto lookUp = [this](const std::string& at) {
      const auto found = tree_.find(at);
      return found == tree_.end() ? std::nullopt : std::optional(found->second);
    };
    return whyOthersMayListen(path, Own, lookUp).value_or("");
  }

  std::map<std::string, PathEntry> tree_;
};

constexpr const char* Tmp = "all users may listen in /tmp";

TEST_F(OpenFolders, AreNoneWhereOnlyRootAndTheUserMayWrite) {
  for (const std::string path : {"/socket", "/run/socket", "/home/own/socket", "/home/own/../own/./socket"}) {
    socket(path);
    EXPECT_EQ(why(path), "") << path;
  }
}

TEST_F(OpenFolders, MayBeWrittenByAGroup) {
  folder("/run/streamd", 0, 02775);
  socket("/run/streamd/socket");
  EXPECT_EQ(why("/run/streamd/socket"), "");
}

TEST_F(OpenFolders, AreStickyOrMayBeWrittenByAll) {
  for (const mode_t mode : {01777U, 01755U, 01770U, 0777U, 0702U}) {
    folder("/run/open", 0, mode);
    socket("/run/open/socket");
    EXPECT_EQ(why("/run/open/socket"), "all users may listen in /run/open") << std::oct << mode;
  }
}

TEST_F(OpenFolders, CountAnywhereAboveTheSocket) {
  folder("/tmp/own", Own, 0700);
  folder("/tmp/own/deep", Own, 0700);
  socket("/tmp/own/deep/socket");
  EXPECT_EQ(why("/tmp/own/deep/socket"), Tmp);
  folder("/tmp/stranger", Stranger, 0755);
  socket("/tmp/stranger/socket");
  EXPECT_EQ(why("/tmp/stranger/socket"), "/tmp/stranger belongs to user 1001") << "the last one is named";
}

TEST_F(OpenFolders, BelongToOthers) {
  socket("/home/stranger/socket");
  EXPECT_EQ(why("/home/stranger/socket"), "/home/stranger belongs to user 1001");
  // The stranger could rename this folder.
  folder("/home/stranger/own", Own, 0700);
  socket("/home/stranger/own/socket");
  EXPECT_EQ(why("/home/stranger/own/socket"), "/home/stranger belongs to user 1001");
}

TEST_F(OpenFolders, CountWhereALinkLeads) {
  socket("/tmp/socket");
  link("/home/own/link", "/tmp/socket");
  EXPECT_EQ(why("/home/own/link"), Tmp);
  link("/home/own/folder", "../../tmp");
  EXPECT_EQ(why("/home/own/folder/socket"), Tmp);
}

TEST_F(OpenFolders, CountWhereALinkIs) {
  socket("/run/socket");
  link("/tmp/link", "/run/socket");
  EXPECT_EQ(why("/tmp/link"), Tmp);
  link("/tmp/folder", "/run");
  EXPECT_EQ(why("/tmp/folder/socket"), Tmp);
}

TEST_F(OpenFolders, CountBetweenTwoLinks) {
  socket("/run/socket");
  link("/tmp/inner", "/run");
  link("/home/own/outer", "/tmp/inner");
  EXPECT_EQ(why("/home/own/outer/socket"), Tmp) << "neither in the path nor in what it leads to";
}

TEST_F(OpenFolders, CountBeforeAPathGoesUpAgain) {
  socket("/run/socket");
  folder("/tmp/stranger", Stranger, 0755);
  EXPECT_EQ(why("/tmp/stranger/../../run/socket"), "/tmp/stranger belongs to user 1001");
  EXPECT_EQ(why("/tmp/../run/socket"), Tmp);
  // The way up starts where the link leads, not where it is.
  folder("/run/streamd", 0, 0755);
  link("/home/own/streamd", "/run/streamd");
  EXPECT_EQ(why("/home/own/streamd/../socket"), "");
  EXPECT_EQ(why("/../../run/socket"), "") << "nothing is above the root";
}

TEST_F(OpenFolders, CountOnAWayThatEndsEarly) {
  EXPECT_EQ(why("/tmp/missing/socket"), Tmp);
  EXPECT_EQ(why("/run/missing/socket"), "");
  link("/tmp/round", "/tmp/round");
  EXPECT_EQ(why("/tmp/round/socket"), Tmp);
}

TEST_F(OpenFolders, AreFoundBehindAsManyLinksAsTheSystemFollows) {
  link("/run/0", "/tmp/socket");
  socket("/tmp/socket");
  std::string last = "/run/0";
  for (int count = 1; count < 40; ++count) {
    const std::string next = "/run/" + std::to_string(count);
    link(next, last);
    last = next;
  }
  EXPECT_EQ(why(last), Tmp);
}

TEST(OpenFoldersOfTheSystem, AreFound) {
  const testsupport::ScratchFolder scratch;
  const fs::path open = scratch.path() / "open";
  fs::create_directory(open);
  fs::permissions(open, fs::perms(01777));
  const fs::path inner = open / "inner";
  fs::create_directory(inner);
  std::ofstream(inner / "socket").close();
  const fs::path link = scratch.path() / "link";
  fs::create_symlink(inner, link);
  const std::string expected = "all users may listen in " + fs::canonical(open).string();
  for (const fs::path& path : {inner / "socket", link / "socket", fs::relative(inner / "socket")}) {
    EXPECT_EQ(whyOthersMayListen(path, geteuid()), expected) << path;
  }
}

TEST(OpenFoldersOfTheSystem, AreNoneInAFolderOfTheSystem) {
  if (!sys::usersAreKnown()) GTEST_SKIP() << "root may be unknown in this user namespace";
  // A symbolic link to a folder of this user, below folders of root.
  EXPECT_EQ(whyOthersMayListen("/proc/self/socket", geteuid()), std::nullopt);
}

}  // namespace
}  // namespace channel
