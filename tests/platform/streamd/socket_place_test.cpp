#include "platform/streamd/socket_place.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

#include "platform/system/local_socket.h"
#include "tests/support/scratch_folder.h"

namespace streamd {
namespace {

namespace fs = std::filesystem;

unsigned modeOf(const fs::path& path) {
  struct stat found {};
  return stat(path.c_str(), &found) == 0 ? found.st_mode & 0777U : 0;
}

// A socket that listens as long as this lives; its file stays.
class Listener {
 public:
  explicit Listener(const std::string& path) : descriptor_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::ranges::copy(path, std::begin(address.sun_path));
    const auto* any = reinterpret_cast<const sockaddr*>(&address);
    listens_ = bind(descriptor_, any, sizeof address) == 0 && listen(descriptor_, 1) == 0;
  }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;
  ~Listener() { close(descriptor_); }

  bool listens() const { return listens_; }

 private:
  int descriptor_;
  bool listens_ = false;
};

class SocketPlaceTest : public testing::Test {
 protected:
  using Place = std::unique_ptr<SocketPlace>;

  // The cause of a refusal; empty for a place, which is given back at once.
  static std::string refusal(const std::string& path) {
    const auto claimed = SocketPlace::claim(path);
    const auto* cause = std::get_if<std::string>(&claimed);
    return cause == nullptr ? "" : *cause;
  }

  testsupport::ScratchFolder folder_;
  std::string path_ = folder_.path() / "sub" / "socket";
};

TEST_F(SocketPlaceTest, MakesTheFolder) {
  const mode_t before = umask(0077);
  auto claimed = SocketPlace::claim(path_);
  umask(before);
  ASSERT_TRUE(std::holds_alternative<Place>(claimed));
  EXPECT_EQ(modeOf(folder_.path() / "sub"), 0750U);
}

TEST_F(SocketPlaceTest, LeavesAFolderAsItIs) {
  fs::create_directory(folder_.path() / "sub");
  fs::permissions(folder_.path() / "sub", fs::perms(0700));
  EXPECT_EQ(refusal(path_), "");
  EXPECT_EQ(modeOf(folder_.path() / "sub"), 0700U);
}

TEST_F(SocketPlaceTest, MakesOnlyOneFolder) {
  EXPECT_EQ(refusal(folder_.path() / "a" / "b" / "socket"),
            (folder_.path() / "a" / "b").string() + ": No such file or directory");
  EXPECT_FALSE(fs::exists(folder_.path() / "a"));
}

TEST_F(SocketPlaceTest, IsClaimedOnceAndReleased) {
  {
    const auto claimed = SocketPlace::claim(path_);
    ASSERT_TRUE(std::holds_alternative<Place>(claimed));
    EXPECT_EQ(refusal(path_), "a service is already listening there");
  }
  EXPECT_TRUE(fs::is_empty(folder_.path() / "sub")) << "the lock is removed";
  EXPECT_EQ(refusal(path_), "");
}

TEST_F(SocketPlaceTest, SocketOfARunningServiceStays) {
  const std::string path = folder_.path() / "socket";
  const Listener listener(path);
  ASSERT_TRUE(listener.listens());
  EXPECT_EQ(refusal(path), "a service is already listening there");
  EXPECT_EQ(sys::whyNobodyListens(path), 0);
}

TEST_F(SocketPlaceTest, SocketOfABusyServiceStays) {
  const std::string path = folder_.path() / "socket";
  const Listener listener(path);
  std::vector<int> waiting;
  // Nobody accepts: the queue fills.
  for (int i = 0; i < 5; ++i) EXPECT_EQ(sys::whyNobodyListens(path), 0) << i;
  EXPECT_EQ(refusal(path), "a service is already listening there");
}

TEST_F(SocketPlaceTest, StaleSocketIsRemoved) {
  const std::string path = folder_.path() / "socket";
  { const Listener gone(path); }
  ASSERT_TRUE(fs::exists(path));
  const auto claimed = SocketPlace::claim(path);
  ASSERT_TRUE(std::holds_alternative<Place>(claimed));
  EXPECT_FALSE(fs::exists(path));
}

TEST_F(SocketPlaceTest, FilesThatAreNoSocketStay) {
  const std::string file = folder_.path() / "file";
  std::ofstream(file) << "precious";
  const std::string link = folder_.path() / "link";
  fs::create_symlink(file, link);
  const std::string directory = folder_.path() / "directory";
  fs::create_directory(directory);
  for (const std::string& path : {file, link, directory}) {
    EXPECT_EQ(refusal(path), "the path exists and is not a socket") << path;
    EXPECT_TRUE(fs::exists(fs::symlink_status(path))) << path;
  }
  EXPECT_EQ(fs::file_size(file), 8U);
}

TEST_F(SocketPlaceTest, RemovesItsSocketAtTheEnd) {
  const std::string path = folder_.path() / "socket";
  {
    const auto claimed = SocketPlace::claim(path);
    ASSERT_TRUE(std::holds_alternative<Place>(claimed));
    const SocketMode mode;
    const Listener own(path);
    std::get<Place>(claimed)->bound();
    EXPECT_EQ(modeOf(path), 0660U);
  }
  EXPECT_TRUE(fs::is_empty(folder_.path()));
}

TEST_F(SocketPlaceTest, WhatSomebodyElseHasPutThereStays) {
  const std::string path = folder_.path() / "socket";
  auto first = SocketPlace::claim(path);
  ASSERT_TRUE(std::holds_alternative<Place>(first));
  const Listener firstSocket(path);
  std::get<Place>(first)->bound();
  fs::remove(path);
  fs::remove(path + ".lock");

  auto second = SocketPlace::claim(path);
  ASSERT_TRUE(std::holds_alternative<Place>(second));
  const Listener secondSocket(path);
  std::get<Place>(second)->bound();
  std::get<Place>(first).reset();
  EXPECT_EQ(sys::whyNobodyListens(path), 0);
  EXPECT_EQ(refusal(path), "a service is already listening there");
  EXPECT_TRUE(fs::exists(path + ".lock"));
  std::get<Place>(second).reset();
  EXPECT_TRUE(fs::is_empty(folder_.path()));
}

TEST_F(SocketPlaceTest, AFileThatCameBeforeTheSocketWasBoundStays) {
  const std::string path = folder_.path() / "socket";
  {
    const auto claimed = SocketPlace::claim(path);
    ASSERT_TRUE(std::holds_alternative<Place>(claimed));
    std::ofstream(path) << "precious";
  }
  EXPECT_EQ(fs::file_size(path), 8U);
}

TEST_F(SocketPlaceTest, FolderThatAllUsersMayWriteIsRefused) {
  const fs::path sub = folder_.path() / "sub";
  fs::create_directory(sub);
  for (const unsigned mode : {0777U, 0702U, 0773U}) {
    fs::permissions(sub, fs::perms(mode));
    EXPECT_EQ(refusal(path_), sub.string() +
                                  ": all users may replace files in this folder; remove their write permission, or "
                                  "make it sticky")
        << mode;
    EXPECT_TRUE(fs::is_empty(sub));
    EXPECT_EQ(modeOf(sub), mode);
  }
}

TEST_F(SocketPlaceTest, StickyFolderAndFolderOfAGroupAreTaken) {
  fs::create_directory(folder_.path() / "sub");
  for (const unsigned mode : {01777U, 0775U}) {
    fs::permissions(folder_.path() / "sub", fs::perms(mode));
    EXPECT_EQ(refusal(path_), "") << mode;
  }
}

TEST_F(SocketPlaceTest, CurrentFolderIsLookedAtAsWell) {
  const fs::path before = fs::current_path();
  fs::permissions(folder_.path(), fs::perms(0777));
  fs::current_path(folder_.path());
  const std::string cause = refusal("socket");
  fs::permissions(folder_.path(), fs::perms(0700));
  const std::string without = refusal("socket");
  fs::current_path(before);
  EXPECT_EQ(cause.substr(0, cause.find(';')), ".: all users may replace files in this folder");
  EXPECT_EQ(without, "");
}

TEST_F(SocketPlaceTest, PathMustFitAnAddress) {
  const std::string folder = folder_.path();
  const std::string longest = folder + "/" + std::string(107 - folder.size() - 1, 'a');
  EXPECT_EQ(refusal(longest), "");
  EXPECT_EQ(refusal(longest + "a"), "File name too long");
  EXPECT_EQ(sys::whyNobodyListens(longest + "a"), ENAMETOOLONG);
  EXPECT_EQ(sys::whyNobodyListens(""), ENOENT);
}

}  // namespace
}  // namespace streamd
