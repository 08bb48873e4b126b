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

// What the cases of a test program have in common.
struct CaseSettings {
  std::string program;                             // what a case runs unless it names another program
  std::map<std::string, std::string> environment;  // the whole environment of a case that sets nothing itself
  std::chrono::milliseconds patience;              // how long a step waits for what it names
};

// Runs the script in a scratch folder of its own, which is gone afterwards, and ends every program that it started.
// Nothing when all that it names came true; else the first step that failed, or what is malformed. Blocks.
std::optional<CaseProblem> runCase(std::string_view script, const CaseSettings& settings);

// The environment that cases start from: a PATH that begins with folder, a plain terminal, the embedded service, and
// of this process's environment only what steers sanitizers.
std::map<std::string, std::string> caseEnvironment(const std::string& folder);

}  // namespace testsupport
