// Runs the steps of an end-to-end case.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/case_script.h"

namespace testsupport {

// Settings for all cases of a test program.
struct CaseSettings {
  std::string program;                             // the program that a case runs unless it names another
  std::map<std::string, std::string> environment;  // the whole environment of a case that sets nothing itself
  std::chrono::milliseconds patience;              // how long a step waits for its condition
};

// Runs the script in a scratch folder that is removed afterwards, and ends every program that it started. Returns
// nullopt if every step passes, else the first step that failed, or what is malformed. Blocks.
std::optional<CaseProblem> runCase(std::string_view script, const CaseSettings& settings);

// The environment that cases start from: a PATH that begins with folder, a plain terminal, the embedded service, and
// from this process's environment only the variables that control sanitizers.
std::map<std::string, std::string> caseEnvironment(const std::string& folder);

}  // namespace testsupport
