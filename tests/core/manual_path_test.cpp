#include "core/manual_path.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "tests/support/scratch_folder.h"

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

TEST(ManualPath, FolderThatIsMissingOrCannotBeNamedIsNone) {
  const testsupport::ScratchFolder scratch;
  const auto& at = scratch.path();
  scratch.write("whole/share/man/man1/flowscope.1", "");
  EXPECT_EQ(manualFolderOf(at / "whole/bin/flowscope"), (at / "whole/share/man").native());
  scratch.write("a:b/share/man/man1/flowscope.1", "");
  EXPECT_EQ(manualFolderOf(at / "a:b/bin/flowscope"), std::nullopt);
  scratch.write("file/share/man", "");
  EXPECT_EQ(manualFolderOf(at / "file/bin/flowscope"), std::nullopt);
  scratch.write("bare/share/other", "");
  EXPECT_EQ(manualFolderOf(at / "bare/bin/flowscope"), std::nullopt);
  EXPECT_EQ(manualFolderOf(at / "none/bin/flowscope"), std::nullopt);
  scratch.write("no", "");
  EXPECT_EQ(manualFolderOf(at / "no/bin/flowscope"), std::nullopt);
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
