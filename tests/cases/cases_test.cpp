// Every folder beside this file is one end-to-end case; README.md describes what stands in it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/case_runner.h"

namespace {

using namespace std::chrono_literals;

// Long enough for a loaded machine and an instrumented program: only a failing step ever waits for it.
constexpr auto Patience = 30s;

const std::filesystem::path CasesFolder = std::filesystem::path(FLOWSCOPE_SOURCE_DIR) / "tests/cases";

struct CaseFolder {
  std::filesystem::path path;

  friend void PrintTo(const CaseFolder& folder, std::ostream* out) { *out << folder.path.filename().string(); }
};

std::vector<CaseFolder> caseFolders() {
  std::vector<CaseFolder> folders;
  for (const auto& entry : std::filesystem::directory_iterator(CasesFolder)) {
    if (entry.is_directory()) {
      folders.push_back({entry.path()});
    }
  }
  std::sort(folders.begin(), folders.end(),
            [](const CaseFolder& left, const CaseFolder& right) { return left.path < right.path; });
  return folders;
}

// "line_editing" becomes "LineEditing".
std::string testName(const testing::TestParamInfo<CaseFolder>& row) {
  std::string name;
  bool begins = true;
  for (const char letter : row.param.path.filename().string()) {
    if (letter != '_') {
      name += begins ? static_cast<char>(std::toupper(static_cast<unsigned char>(letter))) : letter;
    }
    begins = letter == '_';
  }
  return name;
}

class Case : public testing::TestWithParam<CaseFolder> {};

TEST_P(Case, Passes) {
  const std::filesystem::path script = GetParam().path / "script";
  for (const auto& entry : std::filesystem::directory_iterator(GetParam().path)) {
    EXPECT_EQ(entry.path(), script) << "a case folder holds its script and nothing else";
  }
  std::ifstream stream(script, std::ios::binary);
  ASSERT_TRUE(stream.is_open()) << "no script in " << GetParam().path;
  const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  const auto problem = testsupport::runCase(
      text, {FLOWSCOPE_BINARY_DIR "/flowscope", testsupport::caseEnvironment(FLOWSCOPE_BINARY_DIR), Patience});
  EXPECT_FALSE(problem.has_value()) << script.string() << ":" << problem->line << ": " << problem->cause;
}

INSTANTIATE_TEST_SUITE_P(Cases, Case, testing::ValuesIn(caseFolders()), testName);

TEST(CaseFolders, AreFound) { EXPECT_FALSE(caseFolders().empty()); }

}  // namespace
