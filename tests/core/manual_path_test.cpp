#include "core/manual_path.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace flowscope {
namespace {

TEST(ManualPath, HasTheFolderFirstAndKeepsTheSystemsPages) {
  struct Row {
    const char* before;
    const char* after;
  };
  for (const Row& row : {Row{nullptr, "/p:"}, Row{"", "/p:"}, Row{"/a", "/p:/a:"}, Row{"/a:/b", "/p:/a:/b:"},
                         Row{"/a:", "/p:/a:"}, Row{":/a", "/p::/a:"}, Row{"/a::/b", "/p:/a::/b:"}, Row{":", "/p::"}}) {
    EXPECT_EQ(extendedManualPath("/p", row.before), row.after) << (row.before == nullptr ? "unset" : row.before);
  }
}

TEST(ManualPath, FolderLiesBesideThatOfTheProgram) {
  const auto folder = std::filesystem::path(FLOWSCOPE_BINARY_DIR).parent_path() / "share/man";
  EXPECT_EQ(manualFolder(), folder.native());
  EXPECT_TRUE(std::filesystem::exists(folder / "man1/flowscope.1"));
}

TEST(ManualPath, IsExtendedForAWhileAndNothingElseChanges) {
  char** const all = environ;
  const char* const before = std::getenv("MANPATH");
  const char* const other = std::getenv("PATH");
  {
    const ManualPathScope scope;
    EXPECT_EQ(std::getenv("MANPATH"), extendedManualPath(*manualFolder(), before));
    EXPECT_EQ(std::getenv("PATH"), other);
  }
  EXPECT_EQ(environ, all);
  EXPECT_EQ(std::getenv("MANPATH"), before);
}

}  // namespace
}  // namespace flowscope
